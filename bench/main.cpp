#include "benchoptions.h"
#include "hostedmodule.h"
#include "receivers.h"
#include "report.h"
#include "rows.h"

#include <QApplication>

#include <cstdio>

using namespace bench;

namespace {

struct RowGroup
{
    const char *name;
    void (*add)(const BenchOptions &, const Receivers &, Report &);
    bool isUsual;         // measured without --only
    bool comparesPlugins; // can be measured with --against
};

const RowGroup rowGroups[] = {{"paced", addPacedRows, true, true},
                              {"sizes", addSizeRows, false, true},
                              {"scaling", addScalingRows, true, false},
                              {"memory", addMemoryRows, true, false}};

bool isPossible(const RowGroup &group, const BenchOptions &options)
{
    return group.comparesPlugins || options.against.isEmpty();
}

/// Returns why the groups or the plug-in in \a options cannot be measured; empty if they can.
QString problemWith(const BenchOptions &options)
{
    QStringList possible;
    for (const RowGroup &group : rowGroups) {
        if (isPossible(group, options))
            possible << group.name;
    }
    for (const QString &name : options.only) {
        if (!possible.contains(name))
            return QString("'%1' is not one of the groups %2").arg(name, possible.join(", "));
    }
    QString problem;
    simulation::HostedModule other;
    if (!options.against.isEmpty() && other.load(options.against, &problem))
        other.end(&problem);
    return problem;
}

int fail(const QString &problem, int status)
{
    std::fprintf(stderr, "benchmark: %s\n", qPrintable(problem));
    return status;
}

int run(const BenchOptions &options, const Receivers &receivers)
{
    Report report;
    for (const RowGroup &group : rowGroups) {
        const bool isDefault = group.isUsual && isPossible(group, options);
        if (options.only.isEmpty() ? isDefault : options.only.contains(group.name))
            group.add(options, receivers, report);
    }
    report.finish();
    if (!options.json.isEmpty() && !report.write(options.json))
        return fail(QString("cannot write '%1'").arg(options.json), 1);
    if (!report.hasRows())
        return fail("no row was measured", 1);
    return report.hasRemarks() ? 1 : 0;
}

} // namespace

/// script/bench says what the exit status is. With --probe, it is that of probeMemory().
int main(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const BenchOptions options = parseOptions(arguments);
    // Start the receivers before any thread is created, because start() forks.
    Receivers receivers;
    if (!receivers.start())
        return fail("cannot start the receivers", 1);
    const QApplication application(argc, argv);
    const QString problem = problemWith(options);
    if (!problem.isEmpty())
        return fail(problem, 2);
    return options.probe.isEmpty() ? run(options, receivers) : probeMemory(options.probe, receivers);
}
