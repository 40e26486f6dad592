#include "callcost.h"

#include "clocks.h"
#include "moduleundertest.h"
#include "pacing.h"
#include "receivers.h"
#include "statistics.h"

#include <cstring>
#include <numeric>

namespace bench {

namespace {

/// The times that the calls of one target took, in nanoseconds. A target is the module, a LockAndCopy or
/// Nothing.
struct Spent
{
    std::vector<double> durations; // one per call, except the calls with the last line of a frame
    int64_t last = 0;              // sum of the CPU times of the calls with the last line of a frame
};

/// A target that does nothing. Its cost is that of reading the clocks and is subtracted from the cost of the
/// other targets.
struct Nothing
{
    void setNumber(uint32_t /*number*/) {}
    void deliver(int /*index*/) {}
};

template <typename Target>
void measureFrame(Target &target, Spent *spent)
{
    constexpr int lastLine = linesPerFrame - 1;
    target.setNumber(nextFrameNumber());
    for (int index = 0; index < lastLine; ++index) {
        const int64_t start = nowNs();
        target.deliver(index);
        spent->durations.push_back(double(nowNs() - start));
    }
    const int64_t start = threadCpuNs();
    target.deliver(lastLine);
    spent->last += threadCpuNs() - start;
}

double mean(const std::vector<double> &values)
{
    return std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
}

LineCost costOf(const Spent &spent, const Spent &clocks, int frames)
{
    return {median(spent.durations) - median(clocks.durations),
            mean(spent.durations) - mean(clocks.durations), double(spent.last - clocks.last) / frames};
}

} // namespace

LockAndCopy::LockAndCopy(int channels, bool waking)
    : m_waking(waking)
{
    for (int i = 0; i < channels; ++i) {
        m_channels.push_back(std::make_unique<Channel>());
        if (waking)
            m_channels.back()->thread = std::thread(run, std::ref(*m_channels.back()));
    }
}

LockAndCopy::~LockAndCopy()
{
    for (const auto &channel : m_channels) {
        if (!channel->thread.joinable())
            continue;
        {
            const std::lock_guard<std::mutex> lock(channel->mutex);
            channel->stopping = true;
        }
        channel->wake.notify_one();
        channel->thread.join();
    }
}

void LockAndCopy::run(Channel &channel)
{
    std::unique_lock<std::mutex> lock(channel.mutex);
    while (!channel.stopping) {
        channel.wake.wait(lock, [&] { return channel.woken || channel.stopping; });
        channel.woken = false;
        channel.used = 0;
    }
}

void LockAndCopy::deliver(int index)
{
    const FrameLine &line = m_frame.lines()[size_t(index)];
    const bool frameEnds = index == linesPerFrame - 1;
    // Determine the lengths of the texts here, because the module has to do so, too.
    const char *type = line.type.c_str();
    const char *text = line.text.c_str();
    const size_t typeSize = std::strlen(type) + 1;
    const size_t textSize = std::strlen(text) + 1;
    for (const auto &channel : m_channels) {
        {
            const std::lock_guard<std::mutex> lock(channel->mutex);
            // No thread reads the buffer. If it is full, overwrite it from its beginning.
            if (channel->used + typeSize + textSize > channel->buffer.size())
                channel->used = 0;
            std::memcpy(channel->buffer.data() + channel->used, type, typeSize);
            std::memcpy(channel->buffer.data() + channel->used + typeSize, text, textSize);
            channel->used += typeSize + textSize;
            channel->woken = channel->woken || frameEnds;
        }
        if (m_waking && frameEnds)
            channel->wake.notify_one();
    }
}

bool measureCalls(ModuleUnderTest &module, const Receivers &receivers, int frames, CallCosts *costs)
{
    if (!warmUp(module, receivers))
        return false;
    bool arrived = true;
    Spent ours;
    Spent copies;
    Spent wakes;
    Spent clocks;
    // Deliver on a separate thread, because a host delivers data on a data thread.
    std::thread([&] {
        LockAndCopy limit(module.channels(), false);
        LockAndCopy wakingLimit(module.channels(), true);
        Nothing nothing;
        for (int frame = 0; frame < frames; ++frame) {
            std::vector<uint64_t> goal = counts(receivers, module.channels());
            for (uint64_t &count : goal)
                ++count;
            measureFrame(module, &ours);
            arrived = waitForArrivals(receivers, goal) && arrived;
            measureFrame(nothing, &clocks);
            // Sleep before the limits are measured, because the module is measured after a sleep, too.
            sleepUs(500);
            measureFrame(limit, &copies);
            measureFrame(wakingLimit, &wakes);
            // Let the woken threads go back to sleep.
            sleepUs(200);
        }
    }).join();
    *costs = {costOf(ours, clocks, frames), costOf(copies, clocks, frames), costOf(wakes, clocks, frames)};
    return arrived;
}

} // namespace bench
