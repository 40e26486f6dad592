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

/// The durations of the calls of one side, in nanoseconds.
struct Spent
{
    std::vector<double> inside; // of each call but those with the last line of a frame
    int64_t last = 0;           // sum of the CPU times of the calls with the last line of a frame
};

/// A side that does nothing. Its cost, that of reading the clocks, is subtracted from the other sides' cost.
struct Nothing
{
    void setNumber(uint32_t /*number*/) {}
    void deliver(int /*index*/) {}
};

template <typename Side>
void measureFrame(Side &side, Spent *spent)
{
    constexpr int lastLine = linesPerFrame - 1;
    side.setNumber(nextFrameNumber());
    for (int index = 0; index < lastLine; ++index) {
        const int64_t start = nowNs();
        side.deliver(index);
        spent->inside.push_back(double(nowNs() - start));
    }
    const int64_t start = threadCpuNs();
    side.deliver(lastLine);
    spent->last += threadCpuNs() - start;
}

double mean(const std::vector<double> &values)
{
    return std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
}

LineCost costOf(const Spent &spent, const Spent &clocks, int frames)
{
    return {median(spent.inside) - median(clocks.inside), mean(spent.inside) - mean(clocks.inside),
            double(spent.last - clocks.last) / frames};
}

} // namespace

CopyLanes::CopyLanes(int lanes, bool waking)
    : m_waking(waking)
{
    for (int i = 0; i < lanes; ++i) {
        m_lanes.push_back(std::make_unique<Lane>());
        if (waking)
            m_lanes.back()->thread = std::thread(run, std::ref(*m_lanes.back()));
    }
}

CopyLanes::~CopyLanes()
{
    for (const auto &lane : m_lanes) {
        if (!lane->thread.joinable())
            continue;
        {
            const std::lock_guard<std::mutex> lock(lane->mutex);
            lane->stopping = true;
        }
        lane->wake.notify_one();
        lane->thread.join();
    }
}

void CopyLanes::run(Lane &lane)
{
    std::unique_lock<std::mutex> lock(lane.mutex);
    while (!lane.stopping) {
        lane.wake.wait(lock, [&] { return lane.woken || lane.stopping; });
        lane.woken = false;
        lane.used = 0;
    }
}

void CopyLanes::deliver(int index)
{
    const FrameLine &line = m_frame.lines()[size_t(index)];
    const bool frameEnds = index == linesPerFrame - 1;
    // Determine the lengths of the texts here, because the module has to do so, too.
    const char *type = line.type.c_str();
    const char *text = line.text.c_str();
    const size_t typeSize = std::strlen(type) + 1;
    const size_t textSize = std::strlen(text) + 1;
    for (const auto &lane : m_lanes) {
        {
            const std::lock_guard<std::mutex> lock(lane->mutex);
            if (lane->used + typeSize + textSize > lane->buffer.size())
                lane->used = 0;
            std::memcpy(lane->buffer.data() + lane->used, type, typeSize);
            std::memcpy(lane->buffer.data() + lane->used + typeSize, text, textSize);
            lane->used += typeSize + textSize;
            lane->woken = lane->woken || frameEnds;
        }
        if (m_waking && frameEnds)
            lane->wake.notify_one();
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
    // Deliver on a separate thread, as the data thread of a host does.
    std::thread([&] {
        CopyLanes lanes(module.channels(), false);
        CopyLanes wakingLanes(module.channels(), true);
        Nothing nothing;
        for (int frame = 0; frame < frames; ++frame) {
            std::vector<uint64_t> goal = counts(receivers, module.channels());
            for (uint64_t &count : goal)
                ++count;
            measureFrame(module, &ours);
            arrived = waitForArrivals(receivers, goal) && arrived;
            measureFrame(nothing, &clocks);
            // Sleep, because the module, too, is measured after a sleep.
            sleepUs(500);
            measureFrame(lanes, &copies);
            measureFrame(wakingLanes, &wakes);
            // Let the woken threads go back to sleep.
            sleepUs(200);
        }
    }).join();
    *costs = {costOf(ours, clocks, frames), costOf(copies, clocks, frames), costOf(wakes, clocks, frames)};
    return arrived;
}

} // namespace bench
