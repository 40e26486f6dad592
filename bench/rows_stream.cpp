#include "rows.h"

#include "baselines.h"
#include "benchoptions.h"
#include "moduleundertest.h"
#include "pacing.h"
#include "report.h"
#include "statistics.h"

#include <map>
#include <memory>

namespace bench {

namespace {

enum class Value
{
    Cpu,     ///< CPU time per datagram
    Feeding, ///< CPU time per frame of the thread that feeds the frames
    Median,  ///< of the latency
    Late     ///< 99 % quantile of the latency
};

enum class Limit
{
    HandOff,
    OneSender,
    Relay,
    Usual,      ///< the module itself with the usual setup
    OtherPlugin ///< the file of the option --against
};

constexpr const char *valueNames[] = {"cpu per datagram", "host's cpu per frame", "latency median",
                                      "latency 99%"};
constexpr const char *limitNames[] = {"hand-off", "one sender", "relay", "usual", "other"};

/// A stream of frames.
struct Stream
{
    QString name;
    int rate; // frames per second; 0: without pacing
    int frames;
    int repetitions;
    Setup setup = {};
};

struct RowPlan
{
    Value value;
    Limit limit;
    Report::Goal goal = {};
};

using RowPlans = std::vector<RowPlan>;

/// Measures streams and their limits.
class StreamRows
{
public:
    StreamRows(const BenchOptions &options, const Receivers &receivers, Report &report)
        : m_options(options)
        , m_receivers(receivers)
        , m_report(report)
    {
    }

    /// Adds \a rows. With --against, adds instead a row for each value, compared with the other plug-in.
    void add(const Stream &stream, RowPlans rows);

private:
    void measureOnce(const Stream &stream, const RowPlans &rows, std::vector<Pairs> *pairs);
    bool measure(Pipeline &pipeline, const Stream &stream, const QString &name, Run *run);
    std::unique_ptr<Pipeline> makeLimit(Limit limit, Setup setup) const;

    const BenchOptions &m_options;
    const Receivers &m_receivers;
    Report &m_report;
};

Setup setupOf(int channels, int padding = 0)
{
    Setup setup;
    setup.channels = channels;
    setup.padding = padding;
    return setup;
}

double microseconds(Value value, const Stream &stream, const Run &run)
{
    switch (value) {
    case Value::Cpu:
        return double(run.cpuNs) / run.arrived() / 1000;
    case Value::Feeding:
        return double(run.feedingNs) / stream.frames / 1000;
    case Value::Median:
        return median(run.latenciesNs) / 1000;
    case Value::Late:
        break;
    }
    return quantile(run.latenciesNs, 0.99) / 1000;
}

int64_t bytesPerFrame(int channels, int padding)
{
    size_t bytes = 0;
    for (int channel = 0; channel < channels; ++channel) {
        for (const FrameLine &line : tickedLines(channel, padding))
            bytes += line.text.size();
    }
    return int64_t(bytes);
}

std::unique_ptr<Pipeline> StreamRows::makeLimit(Limit limit, Setup setup) const
{
    switch (limit) {
    case Limit::HandOff:
        return std::make_unique<HandOff>(m_receivers, setup.channels, setup.padding);
    case Limit::OneSender:
        return std::make_unique<OneSender>(m_receivers, setup.channels, setup.padding);
    case Limit::Relay:
        return std::make_unique<Relay>(m_receivers, setup.channels, setup.padding);
    case Limit::Usual:
        return std::make_unique<ModuleUnderTest>(m_receivers, Setup());
    case Limit::OtherPlugin:
        break;
    }
    setup.plugin = m_options.against;
    return std::make_unique<ModuleUnderTest>(m_receivers, setup);
}

/// Returns false if no datagram arrives. Adds a remark if datagrams are lost or have other lengths than those
/// of tickedLines().
bool StreamRows::measure(Pipeline &pipeline, const Stream &stream, const QString &name, Run *run)
{
    const QString title = stream.name + ", " + name;
    if (!warmUp(pipeline, m_receivers)) {
        m_report.remark(title + ": no datagram arrived at the end of the warm-up");
        return false;
    }
    *run = feed(pipeline, m_receivers, stream.rate, stream.frames);
    const qint64 bytes = stream.frames * bytesPerFrame(pipeline.channels(), stream.setup.padding);
    if (run->arrived() != run->sent)
        m_report.remark(title + QString(": %1 of %2 datagrams arrived").arg(run->arrived()).arg(run->sent));
    else if (run->bytes != bytes)
        m_report.remark(title + QString(": %1 bytes arrived instead of %2").arg(run->bytes).arg(bytes));
    return run->arrived() > 0 || run->sent == 0;
}

/// Measures the module and each limit once. Each pipeline is destroyed before the next is created, so that
/// its threads do not exist while another one is measured.
void StreamRows::measureOnce(const Stream &stream, const RowPlans &rows, std::vector<Pairs> *pairs)
{
    Run ours;
    if (!measure(*std::make_unique<ModuleUnderTest>(m_receivers, stream.setup), stream, "ours", &ours))
        return;
    std::map<Limit, Run> limits;
    for (size_t i = 0; i < rows.size(); ++i) {
        const auto [known, isNew] = limits.try_emplace(rows[i].limit);
        Run &limit = known->second;
        if (isNew)
            measure(*makeLimit(rows[i].limit, stream.setup), stream, limitNames[int(rows[i].limit)], &limit);
        if (limit.arrived() > 0)
            (*pairs)[i].add(microseconds(rows[i].value, stream, ours),
                            microseconds(rows[i].value, stream, limit));
    }
}

void StreamRows::add(const Stream &stream, RowPlans rows)
{
    if (!m_options.against.isEmpty()) {
        rows = {{Value::Cpu, Limit::OtherPlugin}, {Value::Feeding, Limit::OtherPlugin}};
        if (stream.rate > 0)
            rows.insert(rows.end(), {{Value::Median, Limit::OtherPlugin}, {Value::Late, Limit::OtherPlugin}});
    }
    std::vector<Pairs> pairs(rows.size());
    for (int i = 0; i < m_options.repetitions(stream.repetitions); ++i)
        measureOnce(stream, rows, &pairs);
    for (size_t i = 0; i < rows.size(); ++i)
        m_report.add(valueNames[int(rows[i].value)] + (", " + stream.name + " / ") +
                         limitNames[int(rows[i].limit)] + " [us]",
                     pairs[i], rows[i].goal);
}

/// Returns the median duration of several openings of one module, in milliseconds.
double measureOpening(int types, const Receivers &receivers)
{
    Setup setup;
    setup.types = types;
    setup.routing = false;
    ModuleUnderTest module(receivers, setup);
    module.openAndClose(); // is not measured, because it also creates the window
    std::vector<double> durations(5);
    for (double &duration : durations)
        duration = module.openAndClose();
    return median(durations);
}

} // namespace

// At a low rate, a repetition must be longer to contain enough frames. At a high rate, more and shorter
// repetitions give more stable medians.
void addPacedRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    StreamRows rows(options, receivers, report);
    rows.add({"10 channels, 1000 frames/s", 1000, 1000, 9}, {{Value::Cpu, Limit::OneSender, 1.25},
                                                             {Value::Cpu, Limit::Relay, 1.2},
                                                             {Value::Feeding, Limit::HandOff, 1.0},
                                                             {Value::Median, Limit::HandOff, 0.7},
                                                             {Value::Late, Limit::HandOff, 0.8},
                                                             {Value::Median, Limit::Relay, 1.05}});
    rows.add({"10 channels, 60 frames/s", 60, 120, 7}, {{Value::Cpu, Limit::OneSender, 1.7},
                                                        {Value::Cpu, Limit::Relay},
                                                        {Value::Median, Limit::HandOff, 0.6},
                                                        {Value::Late, Limit::HandOff, 0.8},
                                                        {Value::Median, Limit::Relay, 1.2}});
    rows.add({"1 channel, 1000 frames/s", 1000, 1000, 9, setupOf(1)},
             {{Value::Cpu, Limit::HandOff}, {Value::Median, Limit::HandOff, 1.3}});
    rows.add({"10 channels, 60 frames/s of 60 KB", 60, 120, 7, setupOf(10, paddingTo60Kb)},
             {{Value::Cpu, Limit::HandOff, 1.35},
              {Value::Median, Limit::HandOff, 0.85},
              {Value::Late, Limit::HandOff, 1.0}});
    Setup stalled;
    stalled.stalled = true;
    rows.add({"9 channels beside a stalled one, 60 frames/s", 60, 120, 7, stalled},
             {{Value::Median, Limit::Usual, 1.1}, {Value::Late, Limit::Usual, 1.2}});
    rows.add({"10 channels, unpaced", 0, 4000, 9}, {{Value::Cpu, Limit::OneSender, 1.43}});
}

void addSizeRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    StreamRows rows(options, receivers, report);
    for (const int kilobytes : {1, 4, 16, 60}) {
        for (const int channels : {2, 5, 10}) {
            const QString name = QString("%1 channels, 200 frames/s of %2 KB").arg(channels).arg(kilobytes);
            const Setup setup = setupOf(channels, (kilobytes - 1) * 1000); // without padding about 1 KB
            rows.add({name, 200, 200, 9, setup},
                     {{Value::Cpu, Limit::HandOff}, {Value::Median, Limit::HandOff}});
        }
    }
}

void addScalingRows(const BenchOptions &options, const Receivers &receivers, Report &report)
{
    StreamRows rows(options, receivers, report);
    Setup manyTypes;
    manyTypes.types = 300;
    rows.add({"catalogue of 300 types", 1000, 500, 7, manyTypes}, {{Value::Feeding, Limit::Usual, 1.2}});
    Setup noTicks;
    noTicks.ticking = false;
    rows.add({"no channel ticks a type", 1000, 500, 7, noTicks}, {{Value::Feeding, Limit::Usual, 0.3}});
    Pairs openings;
    for (int i = 0; i < options.repetitions(7); ++i)
        openings.add(measureOpening(300, receivers), measureOpening(100, receivers));
    report.add("opening, 300 types / 100 types [ms]", openings, 3);
}

} // namespace bench
