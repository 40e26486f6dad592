#include "benchoptions.h"
#include "receivers.h"
#include "report.h"
#include "residency.h"
#include "rows.h"

#include <QApplication>

#include <cstdio>

namespace {

struct Family
{
    const char *words;
    void (*add)(const BenchOptions &, const Receivers &, Report &);
};

const Family families[] = {
    {"paced cpu latency", addPacedRows}, {"throughput", addThroughputRows}, {"call", addCallRows},
    {"growth", addGrowthRows},           {"opening", addOpeningRows},       {"memory", addMemoryRows},
};

int run(const BenchOptions &options, const Receivers &receivers)
{
    Report report;
    for (const Family &family : families) {
        if (QLatin1String(family.words).contains(options.only))
            family.add(options, receivers, report);
    }
    report.finish();
    if (!options.json.isEmpty() && !report.write(options.json)) {
        std::fprintf(stderr, "benchmark: cannot write '%s'\n", qPrintable(options.json));
        return 1;
    }
    if (!report.hasRows())
        std::fprintf(stderr, "benchmark: no rows\n");
    return report.hasRows() && !report.hasRemarks() ? 0 : 1;
}

} // namespace

/// 0 if all was measured and nothing was lost, whether goals were met or not.
int main(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const BenchOptions options = parseOptions(arguments);
    // Forks, so before there are threads.
    Receivers receivers;
    if (!receivers.start()) {
        std::fprintf(stderr, "benchmark: no receivers\n");
        return 1;
    }
    const QApplication application(argc, argv);
    return options.probe.isEmpty() ? run(options, receivers) : probeResidency(options, receivers);
}
