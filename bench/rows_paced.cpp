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

struct Pace
{
    int channels;
    int rate;
    double seconds;
    int repetitions;
};

// A low rate needs time for enough frames; a high rate gets better numbers from more repetitions.
const Pace paces[] = {{10, 1000, 1, 9}, {10, 60, 2, 7}, {1, 1000, 1, 9}, {1, 60, 3, 5}};

/// The rows of one pace.
struct Measured
{
    Pairs cpu;
    Pairs cpuDirect;
    Pairs median;
    Pairs late;
};

void addRepetition(const QString &name, const Run &ours, const Run &handOff, Measured *measured,
                   Report &report)
{
    compareBytes(name, ours, handOff, report);
    measured->cpu.add(ours.cpuPerDatagramNs() / 1000, handOff.cpuPerDatagramNs() / 1000);
    const auto addQuantile = [&](Pairs &pairs, double share) {
        pairs.add(quantile(ours.latenciesNs, share) / 1000, quantile(handOff.latenciesNs, share) / 1000);
    };
    addQuantile(measured->median, 0.5);
    addQuantile(measured->late, 0.99);
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
        setup.channels = setup.wanting = pace.channels;
        Run ours;
        Run handOff;
        Run direct;
        if (!measureOne([&] { return std::make_unique<ModuleUnderTest>(receivers, setup); }, ", ours",
                        &ours) ||
            !measureOne([&] { return std::make_unique<HandOff>(receivers, pace.channels); }, ", hand-off",
                        &handOff))
            continue;
        addRepetition(name, ours, handOff, &measured, report);
        // Sending without a hand-off is compared for ten channels only.
        if (pace.channels > 1 &&
            measureOne([&] { return std::make_unique<DirectSender>(receivers, pace.channels); },
                       ", one sender", &direct))
            measured.cpuDirect.add(ours.cpuPerDatagramNs() / 1000, direct.cpuPerDatagramNs() / 1000);
    }
    return measured;
}

} // namespace

void addPacedRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    for (const Pace &pace : paces) {
        const QString name = QString::fromLatin1("%1 channel%2, %3 frames/s")
                                 .arg(pace.channels)
                                 .arg(QLatin1String(pace.channels > 1 ? "s" : ""))
                                 .arg(pace.rate);
        const Measured measured = measurePace(pace, name, options, receivers, report);
        if (measured.cpu.isEmpty())
            continue;
        const bool many = pace.channels > 1;
        report.add(QLatin1String("cpu per datagram, ") + name + QLatin1String(" / hand-off [us]"),
                   measured.cpu, many ? Goal::atMost(1.2) : Goal::shown());
        if (!measured.cpuDirect.isEmpty())
            report.add(QLatin1String("cpu per datagram, ") + name + QLatin1String(" / one sender [us]"),
                       measured.cpuDirect, Goal::shown());
        report.add(QLatin1String("latency median, ") + name + QLatin1String(" / hand-off [us]"),
                   measured.median, Goal::atMost(1.3));
        report.add(QLatin1String("latency 99%, ") + name + QLatin1String(" / hand-off [us]"), measured.late,
                   Goal::atMost(1.5));
    }
}

} // namespace bench
