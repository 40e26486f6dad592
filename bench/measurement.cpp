#include "measurement.h"

#include "pipeline.h"
#include "report.h"

namespace bench {

bool measurePipeline(const QString &name, const PipelineMaker &make, const Feed &feed,
                     const Receivers &receivers, Report &report, Run *run)
{
    const std::unique_ptr<Pipeline> pipeline = make();
    if (!warmUp(*pipeline, receivers)) {
        report.remark(name + QLatin1String(": a channel sends no datagrams"));
        return false;
    }
    *run = feed(*pipeline);
    if (run->arrived != run->sent)
        report.remark(
            QString::fromLatin1("%1: %2 of %3 datagrams arrived").arg(name).arg(run->arrived).arg(run->sent));
    return run->arrived > 0;
}

void compareBytes(const QString &name, const Run &ours, const Run &limit, Report &report)
{
    // If datagrams are lost, which is reported already, the averages may differ: the datagrams of different
    // channels have different lengths.
    if (ours.arrived != ours.sent || limit.arrived != limit.sent)
        return;
    if (ours.bytes * limit.arrived != limit.bytes * ours.arrived)
        report.remark(
            QString::fromLatin1("%1: different numbers of bytes, %2 in %3 datagrams against %4 in %5")
                .arg(name)
                .arg(ours.bytes)
                .arg(ours.arrived)
                .arg(limit.bytes)
                .arg(limit.arrived));
}

} // namespace bench
