#include "rows.h"

#include "callcost.h"
#include "options.h"
#include "product.h"
#include "report.h"
#include "statistics.h"

#include <QVector>

namespace {

constexpr int burstsARun = 150;
constexpr int fewestTypes = 13;

/// One run in a module of its own: \a wanting of ten channels want every line.
bool measureSetup(int types, int wanting, const Receivers &receivers, Report &report, CallCost *cost)
{
    Setup setup;
    setup.types = types;
    setup.wanting = wanting;
    setup.allLines = true;
    Product product(receivers, setup);
    const bool arrived = measureCalls(product, receivers, burstsARun, cost);
    if (!arrived)
        report.remark(QString::fromLatin1("call: datagrams of %1 channels are missing").arg(wanting));
    return arrived;
}

} // namespace

void addCallRows(const Options &options, const Receivers &receivers, Report &report)
{
    Pairs ten;
    Pairs tenElapsed;
    Pairs tenWakes;
    Pairs one;
    Pairs none;
    for (int i = 0; i < options.repetitions(9); ++i) {
        CallCost forTen;
        CallCost forOne;
        CallCost forNone;
        if (!measureSetup(fewestTypes, 10, receivers, report, &forTen) ||
            !measureSetup(fewestTypes, 1, receivers, report, &forOne) ||
            !measureSetup(fewestTypes, 0, receivers, report, &forNone))
            continue;
        ten.add(forTen.oursNs, forTen.copiesNs);
        tenElapsed.add(forTen.oursElapsedNs, forTen.copiesElapsedNs);
        tenWakes.add(forTen.oursNs, forTen.wakesNs);
        one.add(forOne.oursNs, forOne.copiesNs);
        none.add(forNone.oursNs, forTen.oursNs);
    }
    if (ten.isEmpty())
        return;
    report.add(QLatin1String("a line for 10 channels, cpu / locks and copies [ns]"), ten, Goal::atMost(1.5));
    report.add(QLatin1String("a line for 1 channel, cpu / lock and copy [ns]"), one, Goal::atMost(1.5));
    report.add(QLatin1String("a line for no channel, cpu / a line for 10 [ns]"), none, Goal::atMost(0.1));
    report.add(QLatin1String("a line for 10 channels, cpu / and a wake a frame [ns]"), tenWakes,
               Goal::shown());
    report.add(QLatin1String("a line for 10 channels, clock / locks and copies [ns]"), tenElapsed,
               Goal::shown());
}

void addGrowthRows(const Options &options, const Receivers &receivers, Report &report)
{
    Pairs types100;
    Pairs types300;
    Pairs channels5;
    Pairs channels10;
    for (int i = 0; i < options.repetitions(7); ++i) {
        CallCost for1;
        CallCost for5;
        CallCost for10;
        CallCost of100;
        CallCost of300;
        if (!measureSetup(fewestTypes, 1, receivers, report, &for1) ||
            !measureSetup(fewestTypes, 5, receivers, report, &for5) ||
            !measureSetup(fewestTypes, 10, receivers, report, &for10) ||
            !measureSetup(100, 10, receivers, report, &of100) ||
            !measureSetup(300, 10, receivers, report, &of300))
            continue;
        types100.add(of100.oursNs, for10.oursNs);
        types300.add(of300.oursNs, for10.oursNs);
        channels5.add(for5.oursNs / 5, for1.oursNs);
        channels10.add(for10.oursNs / 10, for1.oursNs);
    }
    if (types300.isEmpty())
        return;
    report.add(QLatin1String("a line, catalogue of 100 types / of 13 [ns]"), types100, Goal::atMost(1.2));
    report.add(QLatin1String("a line, catalogue of 300 types / of 13 [ns]"), types300, Goal::atMost(1.2));
    report.add(QLatin1String("a line for each of 5 channels / for 1 [ns]"), channels5, Goal::atMost(1.2));
    report.add(QLatin1String("a line for each of 10 channels / for 1 [ns]"), channels10, Goal::atMost(1.2));
}
