#include "rows.h"

#include "benchoptions.h"
#include "directsender.h"
#include "handoff.h"
#include "measurement.h"
#include "product.h"
#include "report.h"
#include "statistics.h"

namespace {

constexpr int framesARun = 4000;

double datagramsPerCpuMs(const Run &run)
{
    return 1e6 / run.cpuPerDatagramNs();
}

} // namespace

void addThroughputRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    const QString name = QLatin1String("throughput");
    const Feed feed = [&](Road &road) { return runWindowed(road, receivers, framesARun); };
    const auto measureOne = [&](const RoadMaker &make, const char *road, Run *run) {
        return measureRoad(name + QLatin1String(road), make, feed, receivers, report, run);
    };
    Pairs againstSender;
    Pairs againstHandOff;
    for (int i = 0; i < options.repetitions(9); ++i) {
        Run ours;
        Run direct;
        Run handOff;
        if (!measureOne([&] { return std::make_unique<Product>(receivers, Setup()); }, ", ours", &ours) ||
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
    report.add(QLatin1String("datagrams a cpu ms, no pace / one sender"), againstSender, Goal::atLeast(0.7));
    report.add(QLatin1String("datagrams a cpu ms, no pace / hand-off"), againstHandOff, Goal::shown());
}
