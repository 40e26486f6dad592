#include "rows.h"

#include "benchoptions.h"
#include "frames.h"
#include "report.h"
#include "residency.h"
#include "statistics.h"

#include <vector>

namespace bench {

namespace {

/// Measures the memory of one channel: the difference between ten channels and one, divided by nine. There is
/// no measurement without channels, because the dialog always has at least one. Returns false if a process
/// fails.
bool measureChannel(const QString &what, int seconds, double *kib)
{
    Residency one;
    Residency ten;
    if (!runProbe({what, 1, seconds}, &one) || !runProbe({what, channelCount, seconds}, &ten))
        return false;
    *kib = (ten.start - one.start) / (channelCount - 1);
    return true;
}

} // namespace

void addMemoryRows(const BenchOptions &options, const Receivers & /*receivers*/, Report &report)
{
    const QString module = QLatin1String("module");
    Pairs forwarding;
    std::vector<double> idles;
    std::vector<double> runnings;
    for (int i = 0; i < options.repetitions(3); ++i) {
        double idle = 0;
        double running = 0;
        double thread = 0;
        if (!measureChannel(module, 0, &idle) || !measureChannel(module, 1, &running) ||
            !measureChannel(QLatin1String("handoff"), 1, &thread)) {
            report.remark(QLatin1String("memory: a process failed"));
            return;
        }
        idles.push_back(idle);
        runnings.push_back(running);
        forwarding.add(running - idle, thread);
    }
    report.add(QLatin1String("memory of a channel and its dialog tab, idle [KiB]"), median(idles));
    report.add(QLatin1String("memory of a channel and its dialog tab, running [KiB]"), median(runnings));
    report.add(QLatin1String("memory, running minus idle / a sending thread [KiB]"), forwarding,
               Goal::shown());

    const int seconds = options.soakSeconds > 0 ? options.soakSeconds : options.quick ? 4 : 10;
    Residency flow;
    if (!runProbe({module, channelCount, seconds}, &flow)) {
        report.remark(QLatin1String("memory: the process that measures the growth failed"));
        return;
    }
    const QString span = QString::fromLatin1(" in %1 s, 10 channels, 1000 frames/s [KiB]").arg(seconds - 1);
    report.add(QLatin1String("memory growth") + span, flow.end - flow.start);
    // With --quick, 300000 lines pass through the queues in the 3 s that are measured. A leak of one byte per
    // line would be more than four times this limit.
    constexpr double settlingKiB = 64;
    report.add(QLatin1String("growth of memory in use") + span, flow.endInUse - flow.startInUse,
               Goal::atMost(settlingKiB));
}

} // namespace bench
