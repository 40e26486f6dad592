#include "benchoptions.h"
#include "hostedmodule.h"
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
    const char *name;
    void (*add)(const BenchOptions &, const Receivers &, Report &);
    bool isDefault;        // measured if --only is missing
    bool comparesTwoFiles; // works with --against
};

const RowGroup rowGroups[] = {
    {"paced", addPacedRows, true, true},      {"sizes", addSizeRows, false, true},
    {"call", addCallRows, true, false},       {"growth", addGrowthRows, true, false},
    {"opening", addOpeningRows, true, false}, {"memory", addMemoryRows, true, false},
};

/// Returns the names of the groups that can be measured with \a options.
QStringList groupsFor(const BenchOptions &options)
{
    QStringList names;
    for (const RowGroup &group : rowGroups) {
        if (options.against.isEmpty() || group.comparesTwoFiles)
            names << QLatin1String(group.name);
    }
    return names;
}

/// Returns what is wrong with the options; empty if nothing is.
QString problemWith(const BenchOptions &options)
{
    const QStringList known = groupsFor(options);
    for (const QString &group : options.only) {
        if (!known.contains(group))
            return QString::fromLatin1("'%1' is not a group to measure: %2")
                .arg(group, known.join(QLatin1String(", ")));
    }
    QString problem;
    simulation::HostedModule other;
    if (!options.against.isEmpty() && other.load(options.against, &problem))
        other.end(&problem);
    return problem;
}

int run(const BenchOptions &options, const Receivers &receivers)
{
    Report report;
    const QStringList possible = groupsFor(options);
    for (const RowGroup &group : rowGroups) {
        const QString name = QLatin1String(group.name);
        if (options.only.isEmpty() ? group.isDefault && possible.contains(name) : options.only.contains(name))
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
    const QString problem = problemWith(options);
    if (!problem.isEmpty()) {
        std::fprintf(stderr, "benchmark: %s\n", qPrintable(problem));
        return 2;
    }
    return options.probe.isEmpty() ? run(options, receivers) : probeResidency(options, receivers);
}
