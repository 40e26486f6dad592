#include "benchoptions.h"

#include <QCommandLineParser>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr char help[] = R"(Measures the module against the least that its work costs. script/bench [OPTION...]

  --quick          fewer and shorter repetitions
  --only WORD      only the families of rows that WORD is found in:
                   paced (cpu, latency), throughput, call, growth, opening, memory
  --soak SECONDS   let data flow so long in the rows of memory
  --json FILE      write the table to FILE as well
  --help           this text)";

[[noreturn]] void endWith(const QString &text, FILE *stream, int status)
{
    std::fprintf(stream, "%s\n", qPrintable(text));
    std::exit(status);
}

} // namespace

BenchOptions parseOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QString value = QLatin1String("value");
    const QCommandLineOption wantsHelp(QLatin1String("help"));
    const QCommandLineOption quick(QLatin1String("quick"));
    const QCommandLineOption only(QLatin1String("only"), QString(), value);
    const QCommandLineOption soak(QLatin1String("soak"), QString(), value);
    const QCommandLineOption json(QLatin1String("json"), QString(), value);
    const QCommandLineOption probe(QLatin1String("probe"), QString(), value);
    parser.addOptions({wantsHelp, quick, only, soak, json, probe});

    if (!parser.parse(arguments))
        endWith(parser.errorText(), stderr, 2);
    if (parser.isSet(wantsHelp))
        endWith(QLatin1String(help), stdout, 0);
    if (!parser.positionalArguments().isEmpty())
        endWith(QLatin1String("Unexpected argument: ") + parser.positionalArguments().first(), stderr, 2);
    bool isNumber = true;
    const int soakSeconds = parser.isSet(soak) ? parser.value(soak).toInt(&isNumber) : 0;
    if (!isNumber || soakSeconds < 0)
        endWith(QLatin1String("--soak takes a number of seconds"), stderr, 2);
    return {parser.value(json), parser.value(only), parser.isSet(quick), soakSeconds, parser.value(probe)};
}
