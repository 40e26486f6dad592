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
    const QString value = QLatin1String("value");
    const QCommandLineOption quick(QLatin1String("quick"));
    const QCommandLineOption only(QLatin1String("only"), QString(), value);
    const QCommandLineOption against(QLatin1String("against"), QString(), value);
    const QCommandLineOption soak(QLatin1String("soak"), QString(), value);
    const QCommandLineOption json(QLatin1String("json"), QString(), value);
    const QCommandLineOption probe(QLatin1String("probe"), QString(), value);
    parser.addOptions({quick, only, against, soak, json, probe});

    if (!parser.parse(arguments))
        rejectArguments(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        rejectArguments(QLatin1String("unexpected argument: ") + parser.positionalArguments().first());
    bool isNumber = false;
    const int soakSeconds = parser.isSet(soak) ? parser.value(soak).toInt(&isNumber) : 0;
    if (parser.isSet(soak) && (!isNumber || soakSeconds < 2))
        rejectArguments(QLatin1String("--soak needs a whole number of seconds, at least 2"));
    return {parser.value(json),    parser.value(only).split(QLatin1Char(','), Qt::SkipEmptyParts),
            parser.isSet(quick),   soakSeconds,
            parser.value(against), parser.value(probe)};
}

} // namespace bench
