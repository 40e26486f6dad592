#include "benchoptions.h"

#include <QCommandLineParser>

#include <cstdio>
#include <cstdlib>

namespace bench {

namespace {

constexpr char help[] =
    R"(Usage: script/bench [OPTION...]

Measures CPU time, latency and memory of the module, compares them with those of minimal implementations of the same
work, and prints one table. docs/performance.md explains its rows.

  --quick          a third of the repetitions, and a shorter data flow in the rows of memory growth
  --only GROUP     measure only this group of rows: paced (cpu and latency mean the same group), throughput, call,
                   growth, opening or memory
  --soak SECONDS   duration of the data flow in the rows of memory growth, which are in the group memory (10, with
                   --quick 4; at least 2)
  --json FILE      also write the table to FILE as JSON
  --help           print this text)";

[[noreturn]] void exitWith(const QString &text, FILE *stream, int status)
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
        exitWith(parser.errorText(), stderr, 2);
    if (parser.isSet(wantsHelp))
        exitWith(QLatin1String(help), stdout, 0);
    if (!parser.positionalArguments().isEmpty())
        exitWith(QLatin1String("Unexpected argument: ") + parser.positionalArguments().first(), stderr, 2);
    bool isNumber = false;
    const int soakSeconds = parser.isSet(soak) ? parser.value(soak).toInt(&isNumber) : 0;
    if (parser.isSet(soak) && (!isNumber || soakSeconds < 2))
        exitWith(QLatin1String("--soak needs a whole number of seconds, at least 2"), stderr, 2);
    return {parser.value(json), parser.value(only), parser.isSet(quick), soakSeconds, parser.value(probe)};
}

} // namespace bench
