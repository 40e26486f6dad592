#include "rows.h"

#include "benchoptions.h"
#include "directsender.h"
#include "handoff.h"
#include "measurement.h"
#include "moduleundertest.h"
#include "relay.h"
#include "report.h"
#include "statistics.h"

namespace bench {

namespace {

struct Pace
{
    int channels;
    int rate;       // frames per second
    double seconds; // of one repetition
    int repetitions;
    int padding; // additional bytes in each frame
};

constexpr int paddingTo60Kb = 59000;

// At a low rate, a repetition must be longer to contain enough frames. At a high rate, more and shorter
// repetitions give more stable medians.
const Pace paces[] = {{10, 1000, 1, 9, 0},
                      {10, 60, 2, 7, 0},
                      {1, 1000, 1, 9, 0},
                      {1, 60, 3, 5, 0},
                      {10, 60, 2, 7, paddingTo60Kb}};

/// The measurements of one pace, in microseconds: the CPU time per datagram, and the median and the 99 %
/// quantile of the latency. The limit is the hand-off unless the name contains another one.
struct Measured
{
    Pairs cpu;
    Pairs cpuSender;
    Pairs cpuRelay;
    Pairs latency;
    Pairs latency99;
    Pairs latencyRelay;
    Pairs latency99Relay;
};

void addCpu(const Run &ours, const Run &limit, Pairs *pairs)
{
    pairs->add(ours.cpuPerDatagramNs() / 1000, limit.cpuPerDatagramNs() / 1000);
}

void addLatency(const Run &ours, const Run &limit, double share, Pairs *pairs)
{
    pairs->add(quantile(ours.latenciesNs, share) / 1000, quantile(limit.latenciesNs, share) / 1000);
}

/// Measures the two limits that send to all ten channels from one thread: the direct sender and the relay.
template <typename MeasureOne>
void addLimitsForTen(const Receivers &receivers, const Run &ours, const MeasureOne &measureOne,
                     Measured *measured)
{
    Run direct;
    Run relay;
    if (measureOne([&] { return std::make_unique<DirectSender>(receivers, channelCount); }, ", one sender",
                   &direct))
        addCpu(ours, direct, &measured->cpuSender);
    if (!measureOne([&] { return std::make_unique<Relay>(receivers, channelCount); }, ", relay", &relay))
        return;
    addCpu(ours, relay, &measured->cpuRelay);
    addLatency(ours, relay, 0.5, &measured->latencyRelay);
    addLatency(ours, relay, 0.99, &measured->latency99Relay);
}

Measured measurePace(const Pace &pace, const QString &name, const BenchOptions &options,
                     const Receivers &receivers, Report &report)
{
    const int frames = int(pace.seconds * pace.rate);
    const Feed feed = [&](Pipeline &pipeline) { return runPaced(pipeline, receivers, pace.rate, frames); };
    const auto measureOne = [&](const PipelineMaker &make, const char *pipeline, Run *run) {
        return measurePipeline(name + QLatin1String(pipeline), make, feed, receivers, report, run);
    };
    Measured measured;
    for (int i = 0; i < options.repetitions(pace.repetitions); ++i) {
        Setup setup;
        setup.channels = setup.tickingChannels = pace.channels;
        setup.padding = pace.padding;
        Run ours;
        Run handOff;
        if (!measureOne([&] { return std::make_unique<ModuleUnderTest>(receivers, setup); }, ", ours",
                        &ours) ||
            !measureOne([&] { return std::make_unique<HandOff>(receivers, pace.channels, pace.padding); },
                        ", hand-off", &handOff))
            continue;
        compareBytes(name, ours, handOff, report);
        addCpu(ours, handOff, &measured.cpu);
        addLatency(ours, handOff, 0.5, &measured.latency);
        addLatency(ours, handOff, 0.99, &measured.latency99);
        if (pace.channels > 1 && pace.padding == 0)
            addLimitsForTen(receivers, ours, measureOne, &measured);
    }
    return measured;
}

void addRow(const char *what, const QString &pace, const char *limit, const Pairs &pairs, const Goal &goal,
            Report &report)
{
    if (!pairs.isEmpty())
        report.add(
            QString::fromLatin1("%1, %2 / %3 [us]").arg(QLatin1String(what), pace, QLatin1String(limit)),
            pairs, goal);
}

/// Compares two latencies: that of nine channels while the socket of the tenth is never ready, and that of
/// ten channels that all send.
void addStallRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    constexpr int rate = 60, frames = 120;
    const Feed feed = [&](Pipeline &pipeline) { return runPaced(pipeline, receivers, rate, frames); };
    const QString name = QLatin1String("9 channels beside a stalled one, 60 frames/s");
    Measured measured; // the limit is the latency without a stalled channel
    for (int i = 0; i < options.repetitions(7); ++i) {
        Setup setup;
        Run free;
        Run stalled;
        const auto make = [&] { return std::make_unique<ModuleUnderTest>(receivers, setup); };
        if (!measurePipeline(QLatin1String("10 channels, none stalled"), make, feed, receivers, report,
                             &free))
            continue;
        setup.stalled = true;
        if (!measurePipeline(QLatin1String("10 channels, one stalled"), make, feed, receivers, report,
                             &stalled))
            continue;
        addLatency(stalled, free, 0.5, &measured.latency);
        addLatency(stalled, free, 0.99, &measured.latency99);
    }
    addRow("latency median", name, "none stalled", measured.latency, Goal::atMost(1.1), report);
    addRow("latency 99%", name, "none stalled", measured.latency99, Goal::atMost(1.2), report);
}

/// Returns the goal of at most \a goalForTen for ten channels, or \a goalForOne for one channel. Ten channels
/// have the lower goal because one woken worker serves several of them.
Goal goalOf(const Pace &pace, double goalForTen, double goalForOne)
{
    return Goal::atMost(pace.channels > 1 ? goalForTen : goalForOne);
}

void addRowsOf(const Pace &pace, const QString &name, const Measured &measured, Report &report)
{
    if (measured.cpu.isEmpty())
        return;
    const bool isLarge = pace.padding > 0;
    const bool isFast = pace.rate == 1000;
    addRow("cpu per datagram", name, "hand-off", measured.cpu, Goal::shown(), report);
    addRow("cpu per datagram", name, "one sender", measured.cpuSender, Goal::atMost(isFast ? 1.4 : 1.7),
           report);
    addRow("cpu per datagram", name, "relay", measured.cpuRelay, Goal::shown(), report);
    addRow("latency median", name, "hand-off", measured.latency,
           isLarge ? Goal::atMost(0.85) : goalOf(pace, isFast ? 0.65 : 0.8, 1.3), report);
    addRow("latency 99%", name, "hand-off", measured.latency99,
           isLarge ? Goal::atMost(1.0) : goalOf(pace, 0.8, 1.5), report);
    addRow("latency median", name, "relay", measured.latencyRelay, Goal::shown(), report);
    addRow("latency 99%", name, "relay", measured.latency99Relay, Goal::shown(), report);
}

} // namespace

void addPacedRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    for (const Pace &pace : paces) {
        const QString name = QString::fromLatin1("%1 channel%2, %3 frames/s%4")
                                 .arg(pace.channels)
                                 .arg(QLatin1String(pace.channels > 1 ? "s" : ""))
                                 .arg(pace.rate)
                                 .arg(QLatin1String(pace.padding > 0 ? " of 60 KB" : ""));
        addRowsOf(pace, name, measurePace(pace, name, options, receivers, report), report);
    }
    addStallRows(options, receivers, report);
}

} // namespace bench
