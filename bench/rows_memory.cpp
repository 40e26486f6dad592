#include "rows.h"

#include "baselines.h"
#include "benchoptions.h"
#include "moduleundertest.h"
#include "pacing.h"
#include "report.h"
#include "statistics.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTextStream>

#include <malloc.h>
#include <unistd.h>

namespace bench {

namespace {

/// What to run in a new process.
struct Probe
{
    QString what;     ///< "module" or "handoff"
    int channels = 0; ///< 1 to 10
    int rate = 0;     ///< frames per second; 0: no data, and the module is not in router mode
    int seconds = 0;  ///< duration of the data flow after its first second
    int padding = 0;  ///< of frameLines()
};

/// The memory of a process.
struct Memory
{
    double resident = 0;   ///< private, in KiB; only if Probe::seconds is 0
    double growth = 0;     ///< of the memory in use, in KiB, during Probe::seconds
    double pageFaults = 0; ///< of the median second of Probe::seconds
};

/// Runs \a probe in a new process and waits until it ends. Returns nothing and adds a remark if it fails or
/// takes 30 s longer than the data flow.
std::optional<Memory> runProbe(const Probe &probe, Report &report)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(), {"--probe", QString("%1 %2 %3 %4 %5")
                                                                           .arg(probe.what)
                                                                           .arg(probe.channels)
                                                                           .arg(probe.rate)
                                                                           .arg(probe.seconds)
                                                                           .arg(probe.padding)});
    const bool hasEnded = process.waitForFinished(1000 * (probe.seconds + 30)) && process.exitCode() == 0;
    QTextStream output(process.readAllStandardOutput());
    Memory memory;
    output >> memory.resident >> memory.growth >> memory.pageFaults;
    if (hasEnded && output.status() == QTextStream::Ok)
        return memory;
    report.remark("memory: a process failed");
    return {};
}

/// Returns the private memory after malloc_trim() has released free pages to the system.
double residentKiB()
{
    malloc_trim(0);
    QFile file("/proc/self/statm");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> pages = file.readAll().split(' '); // total, resident, shared, ...
    return (pages.value(1).toDouble() - pages.value(2).toDouble()) * double(sysconf(_SC_PAGESIZE)) / 1024;
}

/// Returns the memory that has been allocated and not freed, after 250 frames without a backlog: only after
/// 100 small uses does a channel release a buffer that a backlog has enlarged.
double inUseKiB(Pipeline &pipeline, const Receivers &receivers)
{
    feed(pipeline, receivers, 200, 250);
    const struct mallinfo2 info = mallinfo2();
    return double(info.uordblks + info.hblkhd) / 1024;
}

std::unique_ptr<Pipeline> makePipeline(const Probe &probe, const Receivers &receivers)
{
    if (probe.what == "handoff")
        return std::make_unique<HandOff>(receivers, probe.channels, probe.padding);
    Setup setup;
    setup.channels = probe.channels;
    setup.routing = probe.rate > 0;
    setup.padding = probe.padding;
    return std::make_unique<ModuleUnderTest>(receivers, setup);
}

/// Measures the memory of one channel in KiB: the difference between ten channels and one, divided by nine.
/// There is no measurement without channels, because the dialog always has at least one.
std::optional<double> measureChannel(const QString &what, int rate, Report &report)
{
    const auto one = runProbe({what, 1, rate, 0, 0}, report);
    const auto ten = runProbe({what, channelCount, rate, 0, 0}, report);
    if (!one || !ten)
        return {};
    return (ten->resident - one->resident) / (channelCount - 1);
}

void addChannelRows(int repetitions, Report &report)
{
    Pairs forwarding;
    std::vector<double> idles;
    std::vector<double> runnings;
    for (int i = 0; i < repetitions; ++i) {
        const auto idle = measureChannel("module", 0, report);
        const auto running = measureChannel("module", 1000, report);
        const auto thread = measureChannel("handoff", 1000, report);
        if (!idle || !running || !thread)
            return;
        idles.push_back(*idle);
        runnings.push_back(*running);
        forwarding.add(*running - *idle, *thread);
    }
    report.add("memory of a channel and its dialog tab, idle [KiB]", median(idles));
    report.add("memory of a channel and its dialog tab, running [KiB]", median(runnings));
    report.add("memory, running minus idle / a sending thread [KiB]", forwarding);
}

/// Feeds the data of \a probe after its first second. Returns the page faults of each second.
std::vector<double> feedForSeconds(Pipeline &pipeline, const Receivers &receivers, const Probe &probe)
{
    std::vector<double> pageFaults;
    constexpr int atOnce = 60; // because of the limit of feed()
    for (int left = probe.seconds; left > 0; left -= atOnce) {
        const Run run = feed(pipeline, receivers, probe.rate, probe.rate * std::min(left, atOnce) + 1);
        pageFaults.insert(pageFaults.end(), run.pageFaults.begin(), run.pageFaults.end());
    }
    return pageFaults;
}

} // namespace

void addMemoryRows(const BenchOptions &options, const Receivers & /*receivers*/, Report &report)
{
    addChannelRows(options.repetitions(3), report);

    const int seconds = options.soakSeconds > 0 ? options.soakSeconds : options.quick ? 4 : 10;
    const auto small = runProbe({"module", channelCount, 1000, seconds, 0}, report);
    const auto large = runProbe({"module", channelCount, 60, seconds, paddingTo60Kb}, report);
    if (!small || !large)
        return;
    // With --quick, 400000 lines pass through the queues. A leak of one byte per line would be more than six
    // times this limit.
    constexpr double settlingKiB = 64;
    report.add(QString("growth of memory in use in %1 s, 10 channels, 1000 frames/s [KiB]").arg(seconds),
               small->growth, settlingKiB);
    const QString faults = "page faults in the median second, 10 channels, ";
    report.add(faults + "1000 frames/s", small->pageFaults, 0);
    report.add(faults + "60 frames/s of 60 KB", large->pageFaults, 0);
}

int probeMemory(QString options, const Receivers &receivers)
{
    Probe probe;
    QTextStream(&options) >> probe.what >> probe.channels >> probe.rate >> probe.seconds >> probe.padding;
    const std::unique_ptr<Pipeline> pipeline = makePipeline(probe, receivers);
    // Send data for a second first, so that queues and buffers reach their final size.
    if (probe.rate > 0 &&
        (!warmUp(*pipeline, receivers) || feed(*pipeline, receivers, probe.rate, probe.rate).arrived() == 0))
        return 1;
    Memory memory;
    if (probe.seconds == 0) {
        memory.resident = residentKiB();
    } else {
        const double before = inUseKiB(*pipeline, receivers);
        memory.pageFaults = median(feedForSeconds(*pipeline, receivers, probe));
        memory.growth = inUseKiB(*pipeline, receivers) - before;
    }
    QTextStream(stdout) << memory.resident << ' ' << memory.growth << ' ' << memory.pageFaults << '\n';
    return 0;
}

} // namespace bench
