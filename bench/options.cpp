#include "options.h"

#include <QCommandLineParser>

#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void endWith(const QString &text, FILE *stream, int status)
{
    std::fprintf(stream, "%s\n", qPrintable(text));
    std::exit(status);
}

} // namespace

Options parseOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QLatin1String("Measures the module against the least that its work costs.\n"
                      "Families of rows: paced (cpu, latency), throughput, call, growth, opening, memory."));
    const QCommandLineOption help({QLatin1String("h"), QLatin1String("help")}, QLatin1String("This text."));
    const QCommandLineOption json(QLatin1String("json"), QLatin1String("Write the table to FILE as well."),
                                  QLatin1String("FILE"));
    const QCommandLineOption only(QLatin1String("only"),
                                  QLatin1String("Only the families of rows that WORD is found in."),
                                  QLatin1String("WORD"));
    const QCommandLineOption quick(QLatin1String("quick"), QLatin1String("Fewer and shorter repetitions."));
    const QCommandLineOption soak(QLatin1String("soak"),
                                  QLatin1String("Let data flow for SECONDS in the rows of memory."),
                                  QLatin1String("SECONDS"));
    QCommandLineOption probe(QLatin1String("probe"), QString(), QLatin1String("WHAT"));
    probe.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({help, json, only, quick, soak, probe});

    if (!parser.parse(arguments))
        endWith(parser.errorText(), stderr, 2);
    if (parser.isSet(help))
        endWith(parser.helpText(), stdout, 0);
    if (!parser.positionalArguments().isEmpty())
        endWith(QLatin1String("Unexpected argument: ") + parser.positionalArguments().first(), stderr, 2);
    bool isNumber = true;
    const int soakSeconds = parser.isSet(soak) ? parser.value(soak).toInt(&isNumber) : 0;
    if (!isNumber || soakSeconds < 0)
        endWith(QLatin1String("--soak takes a number of seconds"), stderr, 2);
    return {parser.value(json), parser.value(only), parser.isSet(quick), soakSeconds, parser.value(probe)};
}
