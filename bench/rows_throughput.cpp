#include "rows.h"

#include "benchoptions.h"
#include "directsender.h"
#include "handoff.h"
#include "measurement.h"
#include "moduleundertest.h"
#include "report.h"
#include "statistics.h"

namespace bench {

namespace {

constexpr int framesPerRun = 4000;

double datagramsPerCpuMs(const Run &run)
{
    return 1e6 / run.cpuPerDatagramNs();
}

} // namespace

void addThroughputRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    const QString name = QLatin1String("throughput");
    const Feed feed = [&](Pipeline &pipeline) { return runWindowed(pipeline, receivers, framesPerRun); };
    const auto measureOne = [&](const PipelineMaker &make, const char *pipeline, Run *run) {
        return measurePipeline(name + QLatin1String(pipeline), make, feed, receivers, report, run);
    };
    Pairs againstSender;
    Pairs againstHandOff;
    for (int i = 0; i < options.repetitions(9); ++i) {
        Run ours;
        Run direct;
        Run handOff;
        if (!measureOne([&] { return std::make_unique<ModuleUnderTest>(receivers, Setup()); }, ", ours",
                        &ours) ||
            !measureOne([&] { return std::make_unique<DirectSender>(receivers, channelCount); },
                        ", one sender", &direct) ||
            !measureOne([&] { return std::make_unique<HandOff>(receivers, channelCount); }, ", hand-off",
                        &handOff))
            continue;
        compareBytes(name, ours, direct, report);
        againstSender.add(datagramsPerCpuMs(ours), datagramsPerCpuMs(direct));
        againstHandOff.add(datagramsPerCpuMs(ours), datagramsPerCpuMs(handOff));
    }
    if (againstSender.isEmpty())
        return;
    report.add(QLatin1String("datagrams per cpu ms, unpaced / one sender"), againstSender,
               Goal::atLeast(0.7));
    report.add(QLatin1String("datagrams per cpu ms, unpaced / hand-off"), againstHandOff, Goal::shown());
}

} // namespace bench
