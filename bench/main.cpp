#include "benchoptions.h"
#include "receivers.h"
#include "report.h"
#include "residency.h"
#include "rows.h"

#include <QApplication>

#include <cstdio>

using namespace bench;

namespace {

struct RowGroup
{
    const char *words; // --only selects the group by any part of these
    void (*add)(const BenchOptions &, const Receivers &, Report &);
};

const RowGroup rowGroups[] = {
    {"paced cpu latency", addPacedRows}, {"throughput", addThroughputRows}, {"call", addCallRows},
    {"growth", addGrowthRows},           {"opening", addOpeningRows},       {"memory", addMemoryRows},
};

int run(const BenchOptions &options, const Receivers &receivers)
{
    Report report;
    for (const RowGroup &group : rowGroups) {
        if (QLatin1String(group.words).contains(options.only))
            group.add(options, receivers, report);
    }
    report.finish();
    if (!options.json.isEmpty() && !report.write(options.json)) {
        std::fprintf(stderr, "benchmark: cannot write '%s'\n", qPrintable(options.json));
        return 1;
    }
    if (!report.hasRows())
        std::fprintf(stderr, "benchmark: no row was measured\n");
    return report.hasRows() && !report.hasRemarks() ? 0 : 1;
}

} // namespace

/// Returns 0 if rows were measured, there are no remarks (for example on lost datagrams), and the JSON file,
/// if any, was written. Goals that are not met do not change the result. With --probe, returns the result of
/// probeResidency().
int main(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const BenchOptions options = parseOptions(arguments);
    // Start the receivers before any thread is created, because start() forks.
    Receivers receivers;
    if (!receivers.start()) {
        std::fprintf(stderr, "benchmark: cannot start the receivers\n");
        return 1;
    }
    const QApplication application(argc, argv);
    return options.probe.isEmpty() ? run(options, receivers) : probeResidency(options, receivers);
}
