#include "benchoptions.h"

#include <QCommandLineParser>

#include <cstdio>
#include <cstdlib>

namespace bench {

namespace {

[[noreturn]] void rejectArguments(const QString &problem)
{
    std::fprintf(stderr, "benchmark: %s\n", qPrintable(problem));
    std::exit(2);
}

} // namespace

BenchOptions parseOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QString value = "value";
    const QCommandLineOption quick("quick");
    const QCommandLineOption only("only", QString(), value);
    const QCommandLineOption against("against", QString(), value);
    const QCommandLineOption soak("soak", QString(), value);
    const QCommandLineOption json("json", QString(), value);
    const QCommandLineOption probe("probe", QString(), value);
    parser.addOptions({quick, only, against, soak, json, probe});

    if (!parser.parse(arguments))
        rejectArguments(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        rejectArguments("unexpected argument: " + parser.positionalArguments().first());
    bool isNumber = false;
    const int soakSeconds = parser.isSet(soak) ? parser.value(soak).toInt(&isNumber) : 0;
    if (parser.isSet(soak) && (!isNumber || soakSeconds < 2))
        rejectArguments("--soak needs a whole number of seconds, at least 2");
    return {parser.value(json),    parser.value(only).split(QLatin1Char(','), Qt::SkipEmptyParts),
            parser.isSet(quick),   soakSeconds,
            parser.value(against), parser.value(probe)};
}

} // namespace bench
