#include "measurement.h"

#include "report.h"
#include "road.h"

bool measureRoad(const QString &name, const RoadMaker &make, const Feed &feed, const Receivers &receivers,
                 Report &report, Run *run)
{
    const std::unique_ptr<Road> road = make();
    if (!warmUp(*road, receivers)) {
        report.remark(name + QLatin1String(": nothing arrives"));
        return false;
    }
    *run = feed(*road);
    if (run->arrived != run->sent)
        report.remark(
            QString::fromLatin1("%1: %2 of %3 datagrams arrived").arg(name).arg(run->arrived).arg(run->sent));
    return run->arrived > 0;
}

void compareBytes(const QString &name, const Run &ours, const Run &limit, Report &report)
{
    // A lost datagram has its remark, and channels have datagrams of several lengths.
    if (ours.arrived != ours.sent || limit.arrived != limit.sent)
        return;
    if (ours.bytes * limit.arrived != limit.bytes * ours.arrived)
        report.remark(QString::fromLatin1("%1: not the same bytes, %2 in %3 datagrams against %4 in %5")
                          .arg(name)
                          .arg(ours.bytes)
                          .arg(ours.arrived)
                          .arg(limit.bytes)
                          .arg(limit.arrived));
}
