#include "rows.h"

#include "benchoptions.h"
#include "callcost.h"
#include "moduleundertest.h"
#include "report.h"
#include "statistics.h"

namespace bench {

namespace {

constexpr int framesPerRun = 400;
constexpr int fewestTypes = 13;

/// Measures a newly loaded module with \a types types in the catalogue. Of its ten channels,
/// \a tickingChannels tick every type of the frame. Returns false and adds a remark if datagrams are lost.
bool measureSetup(int types, int tickingChannels, const Receivers &receivers, Report &report,
                  CallCosts *costs)
{
    Setup setup;
    setup.types = types;
    setup.tickingChannels = tickingChannels;
    setup.allLines = true;
    ModuleUnderTest module(receivers, setup);
    const bool arrived = measureCalls(module, receivers, framesPerRun, costs);
    if (!arrived)
        report.remark(QString::fromLatin1("datagrams were lost while the calls for %1 channels were measured")
                          .arg(tickingChannels));
    return arrived;
}

} // namespace

void addCallRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    Pairs ten;
    Pairs tenMean;
    Pairs last;
    Pairs one;
    Pairs none;
    for (int i = 0; i < options.repetitions(9); ++i) {
        CallCosts forTen;
        CallCosts forOne;
        CallCosts forNone;
        if (!measureSetup(fewestTypes, 10, receivers, report, &forTen) ||
            !measureSetup(fewestTypes, 1, receivers, report, &forOne) ||
            !measureSetup(fewestTypes, 0, receivers, report, &forNone))
            continue;
        ten.add(forTen.ours.median, forTen.copies.median);
        tenMean.add(forTen.ours.mean, forTen.copies.mean);
        last.add(forTen.ours.last, forTen.wakes.last);
        one.add(forOne.ours.median, forOne.copies.median);
        none.add(forNone.ours.median, forTen.ours.median);
    }
    if (ten.isEmpty())
        return;
    report.add(QLatin1String("a line for 10 channels / locks and copies [ns]"), ten, Goal::atMost(1.5));
    report.add(QLatin1String("a line for 1 channel / lock and copy [ns]"), one, Goal::atMost(1.5));
    report.add(QLatin1String("a line for no channel / a line for 10 [ns]"), none, Goal::atMost(0.1));
    report.add(QLatin1String("a line for 10 channels, mean / locks and copies [ns]"), tenMean, Goal::shown());
    report.add(QLatin1String("a frame's last line, cpu / locks, copies, wakes [ns]"), last,
               Goal::atMost(1.5));
}

void addGrowthRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    Pairs types100;
    Pairs types300;
    Pairs channels5;
    Pairs channels10;
    for (int i = 0; i < options.repetitions(7); ++i) {
        CallCosts for1;
        CallCosts for5;
        CallCosts for10;
        CallCosts of100;
        CallCosts of300;
        if (!measureSetup(fewestTypes, 1, receivers, report, &for1) ||
            !measureSetup(fewestTypes, 5, receivers, report, &for5) ||
            !measureSetup(fewestTypes, 10, receivers, report, &for10) ||
            !measureSetup(100, 10, receivers, report, &of100) ||
            !measureSetup(300, 10, receivers, report, &of300))
            continue;
        types100.add(of100.ours.median, for10.ours.median);
        types300.add(of300.ours.median, for10.ours.median);
        channels5.add(for5.ours.median / 5, for1.ours.median);
        channels10.add(for10.ours.median / 10, for1.ours.median);
    }
    if (types300.isEmpty())
        return;
    report.add(QLatin1String("a line, catalogue of 100 types / of 13 [ns]"), types100, Goal::atMost(1.2));
    report.add(QLatin1String("a line, catalogue of 300 types / of 13 [ns]"), types300, Goal::atMost(1.2));
    report.add(QLatin1String("a line for each of 5 channels / for 1 [ns]"), channels5, Goal::atMost(1.2));
    report.add(QLatin1String("a line for each of 10 channels / for 1 [ns]"), channels10, Goal::atMost(1.2));
}

} // namespace bench
