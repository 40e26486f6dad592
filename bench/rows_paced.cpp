#include "rows.h"

#include "benchoptions.h"
#include "directsender.h"
#include "handoff.h"
#include "measurement.h"
#include "moduleundertest.h"
#include "relay.h"
#include "report.h"
#include "statistics.h"

#include <map>
#include <vector>

namespace bench {

namespace {

enum class Value
{
    Cpu,    ///< CPU time per datagram
    Median, ///< of the latency
    Late    ///< 99 % quantile of the latency
};

enum class Limit
{
    HandOff,
    OneSender,
    Relay,
    NoneStalled, ///< the module itself, without a stalled channel
    OtherPlugin  ///< the file of the option --against
};

struct RowPlan
{
    Value value;
    Limit limit;
    Goal goal;
};

/// A stream of frames and the rows for which it is measured.
struct Pace
{
    QString name;
    Setup setup;
    int rate;   // frames per second; 0: without pacing
    int frames; // of one repetition
    int repetitions;
    std::vector<RowPlan> rows;
};

Setup setupOf(int channels, int padding = 0)
{
    Setup setup;
    setup.channels = setup.tickingChannels = channels;
    setup.padding = padding;
    return setup;
}

// At a low rate, a repetition must be longer to contain enough frames. At a high rate, more and shorter
// repetitions give more stable medians.
std::vector<Pace> paces()
{
    constexpr int paddingTo60Kb = 59000;
    Setup stalled;
    stalled.stalled = true;
    return {
        {QLatin1String("10 channels, 1000 frames/s"),
         setupOf(10),
         1000,
         1000,
         9,
         {{Value::Cpu, Limit::OneSender, Goal::atMost(1.4)},
          {Value::Cpu, Limit::Relay, Goal::shown()},
          {Value::Median, Limit::HandOff, Goal::atMost(0.65)},
          {Value::Late, Limit::HandOff, Goal::atMost(0.8)},
          {Value::Median, Limit::Relay, Goal::shown()}}},
        {QLatin1String("10 channels, 60 frames/s"),
         setupOf(10),
         60,
         120,
         7,
         {{Value::Cpu, Limit::OneSender, Goal::atMost(1.7)},
          {Value::Cpu, Limit::Relay, Goal::shown()},
          {Value::Median, Limit::HandOff, Goal::atMost(0.8)},
          {Value::Late, Limit::HandOff, Goal::atMost(0.8)},
          {Value::Median, Limit::Relay, Goal::shown()}}},
        {QLatin1String("1 channel, 1000 frames/s"),
         setupOf(1),
         1000,
         1000,
         9,
         {{Value::Cpu, Limit::HandOff, Goal::shown()}, {Value::Median, Limit::HandOff, Goal::atMost(1.3)}}},
        {QLatin1String("10 channels, 60 frames/s of 60 KB"),
         setupOf(10, paddingTo60Kb),
         60,
         120,
         7,
         {{Value::Cpu, Limit::HandOff, Goal::shown()},
          {Value::Median, Limit::HandOff, Goal::atMost(0.85)},
          {Value::Late, Limit::HandOff, Goal::atMost(1.0)}}},
        {QLatin1String("9 channels beside a stalled one, 60 frames/s"),
         stalled,
         60,
         120,
         7,
         {{Value::Median, Limit::NoneStalled, Goal::atMost(1.1)},
          {Value::Late, Limit::NoneStalled, Goal::atMost(1.2)}}},
        {QLatin1String("10 channels, unpaced"),
         setupOf(10),
         0,
         4000,
         9,
         {{Value::Cpu, Limit::OneSender, Goal::atMost(1.43)}}}};
}

/// Returns a row for each value, compared with the other plug-in.
std::vector<RowPlan> rowsAgainstPlugin(const Pace &pace)
{
    std::vector<RowPlan> rows{{Value::Cpu, Limit::OtherPlugin, Goal::shown()}};
    if (pace.rate > 0) {
        rows.push_back({Value::Median, Limit::OtherPlugin, Goal::shown()});
        rows.push_back({Value::Late, Limit::OtherPlugin, Goal::shown()});
    }
    return rows;
}

std::unique_ptr<Pipeline> makeLimit(Limit limit, Setup setup, const QString &otherPlugin,
                                    const Receivers &receivers)
{
    switch (limit) {
    case Limit::HandOff:
        return std::make_unique<HandOff>(receivers, setup.channels, setup.padding);
    case Limit::OneSender:
        return std::make_unique<DirectSender>(receivers, setup.channels);
    case Limit::Relay:
        return std::make_unique<Relay>(receivers, setup.channels);
    case Limit::NoneStalled:
        setup.stalled = false;
        break;
    case Limit::OtherPlugin:
        setup.plugin = otherPlugin;
        break;
    }
    return std::make_unique<ModuleUnderTest>(receivers, setup);
}

QString nameOf(Limit limit)
{
    constexpr const char *names[] = {"hand-off", "one sender", "relay", "none stalled", "other"};
    return QLatin1String(names[int(limit)]);
}

QString nameOf(Value value)
{
    constexpr const char *names[] = {"cpu per datagram", "latency median", "latency 99%"};
    return QLatin1String(names[int(value)]);
}

double microseconds(Value value, const Run &run)
{
    if (value == Value::Cpu)
        return run.cpuPerDatagramNs() / 1000;
    return quantile(run.latenciesNs, value == Value::Median ? 0.5 : 0.99) / 1000;
}

/// Measures the module and each limit once, and adds one pair to each row of \a pairs.
void measureOnce(const Pace &pace, const QString &otherPlugin, const Receivers &receivers, Report &report,
                 std::vector<Pairs> *pairs)
{
    const auto measureOne = [&](const QString &name, const PipelineMaker &make, Run *run) {
        const auto feed = [&](Pipeline &pipeline) {
            return pace.rate > 0 ? runPaced(pipeline, receivers, pace.rate, pace.frames)
                                 : runWindowed(pipeline, receivers, pace.frames);
        };
        return measurePipeline(pace.name + QLatin1String(", ") + name, make, feed, receivers, report, run);
    };
    Run ours;
    if (!measureOne(
            QLatin1String("ours"), [&] { return std::make_unique<ModuleUnderTest>(receivers, pace.setup); },
            &ours))
        return;
    std::map<Limit, Run> limits;
    for (size_t i = 0; i < pace.rows.size(); ++i) {
        const Limit limit = pace.rows[i].limit;
        if (limits.count(limit) == 0) {
            measureOne(
                nameOf(limit), [&] { return makeLimit(limit, pace.setup, otherPlugin, receivers); },
                &limits[limit]);
            compareBytes(pace.name, ours, limits[limit], report);
        }
        if (limits[limit].arrived > 0)
            (*pairs)[i].add(microseconds(pace.rows[i].value, ours),
                            microseconds(pace.rows[i].value, limits[limit]));
    }
}

void addRows(std::vector<Pace> paces, const BenchOptions &options, const Receivers &receivers, Report &report)
{
    for (Pace &pace : paces) {
        if (!options.against.isEmpty())
            pace.rows = rowsAgainstPlugin(pace);
        std::vector<Pairs> pairs(pace.rows.size());
        for (int i = 0; i < options.repetitions(pace.repetitions); ++i)
            measureOnce(pace, options.against, receivers, report, &pairs);
        for (size_t i = 0; i < pairs.size(); ++i) {
            const RowPlan &row = pace.rows[i];
            if (!pairs[i].isEmpty())
                report.add(QString::fromLatin1("%1, %2 / %3 [us]")
                               .arg(nameOf(row.value), pace.name, nameOf(row.limit)),
                           pairs[i], row.goal);
        }
    }
}

} // namespace

void addPacedRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    addRows(paces(), options, receivers, report);
}

void addSizeRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    constexpr int frameBytes = 1000; // without padding
    std::vector<Pace> paces;
    for (const int kilobytes : {1, 4, 16, 60}) {
        for (const int channels : {2, 5, 10})
            paces.push_back(
                {QString::fromLatin1("%1 channels, 200 frames/s of %2 KB").arg(channels).arg(kilobytes),
                 setupOf(channels, kilobytes * 1000 - frameBytes),
                 200,
                 200,
                 9,
                 {{Value::Cpu, Limit::HandOff, Goal::shown()},
                  {Value::Median, Limit::HandOff, Goal::shown()}}});
    }
    addRows(std::move(paces), options, receivers, report);
}

} // namespace bench
