#include "measurement.h"

#include "pipeline.h"
#include "report.h"

namespace bench {

bool measurePipeline(const QString &name, const PipelineMaker &make, const Feed &feed,
                     const Receivers &receivers, Report &report, Run *run)
{
    const std::unique_ptr<Pipeline> pipeline = make();
    if (!warmUp(*pipeline, receivers)) {
        report.remark(name + QLatin1String(": too few datagrams arrived in the warm-up"));
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
    // If datagrams were lost, measurePipeline() has reported it. The average lengths may then differ, because
    // the channels' datagrams have different lengths.
    if (ours.arrived != ours.sent || limit.arrived != limit.sent || ours.sent != limit.sent)
        return;
    if (ours.bytes * limit.arrived != limit.bytes * ours.arrived)
        report.remark(
            QString::fromLatin1("%1: different numbers of bytes: ours %2 in %3 datagrams, limit %4 in %5")
                .arg(name)
                .arg(ours.bytes)
                .arg(ours.arrived)
                .arg(limit.bytes)
                .arg(limit.arrived));
}

} // namespace bench
