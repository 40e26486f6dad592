#include "callcost.h"

#include "clocks.h"
#include "pacing.h"
#include "product.h"
#include "receivers.h"

#include <cstring>

namespace {

/// Few enough that the lines of a burst stay far below what a queue holds.
constexpr int framesABurst = 4;

/// Sums of what a side's calls took.
struct Spent
{
    int64_t cpu = 0;
    int64_t elapsed = 0;
};

/// Costs nothing but the looks at the clocks around it.
struct Nothing
{
    void deliver(uint32_t /*number*/) {}
};

template <typename Side>
void measureBurst(Side &side, Spent *spent)
{
    const int64_t start = nowNs();
    const int64_t cpu = threadCpuNs();
    for (int frame = 0; frame < framesABurst; ++frame)
        side.deliver(nextFrameNumber());
    spent->cpu += threadCpuNs() - cpu;
    spent->elapsed += nowNs() - start;
}

double perLine(int64_t nanoseconds, int bursts)
{
    return double(nanoseconds) / (double(bursts) * framesABurst * LinesPerFrame);
}

} // namespace

CopyLanes::CopyLanes(int lanes, bool waking)
    : m_waking(waking)
{
    for (int i = 0; i < lanes; ++i) {
        m_lanes.push_back(std::make_unique<Lane>());
        if (waking)
            m_lanes.back()->thread = std::thread(waitForever, std::ref(*m_lanes.back()));
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

void CopyLanes::waitForever(Lane &lane)
{
    std::unique_lock<std::mutex> lock(lane.mutex);
    while (!lane.stopping) {
        lane.wake.wait(lock, [&] { return lane.woken || lane.stopping; });
        lane.woken = false;
        lane.used = 0;
    }
}

void CopyLanes::deliver(uint32_t number)
{
    m_frame.setNumber(number);
    const FrameLine &last = m_frame.lines().back();
    for (const FrameLine &line : m_frame.lines())
        put(line.type.c_str(), line.text.c_str(), &line == &last);
}

void CopyLanes::put(const char *type, const char *line, bool frameEnds)
{
    // The texts come without their lengths, as they do to the module.
    const size_t typeSize = std::strlen(type) + 1;
    const size_t lineSize = std::strlen(line) + 1;
    for (const auto &lane : m_lanes) {
        {
            const std::lock_guard<std::mutex> lock(lane->mutex);
            if (lane->used + typeSize + lineSize > lane->buffer.size())
                lane->used = 0;
            std::memcpy(lane->buffer.data() + lane->used, type, typeSize);
            std::memcpy(lane->buffer.data() + lane->used + typeSize, line, lineSize);
            lane->used += typeSize + lineSize;
            lane->woken = lane->woken || frameEnds;
        }
        if (m_waking && frameEnds)
            lane->wake.notify_one();
    }
}

bool measureCalls(Product &product, const Receivers &receivers, int bursts, CallCost *cost)
{
    if (!warmUp(product, receivers))
        return false;
    bool arrived = true;
    Spent ours;
    Spent copies;
    Spent wakes;
    Spent clocks;
    // A thread of its own, as the host's data thread is.
    std::thread([&] {
        CopyLanes lanes(product.channels(), false);
        CopyLanes wakingLanes(product.channels(), true);
        Nothing nothing;
        for (int burst = 0; burst < bursts; ++burst) {
            std::vector<uint64_t> goal = counts(receivers, product.channels());
            for (uint64_t &count : goal)
                count += framesABurst;
            measureBurst(product, &ours);
            arrived = waitForArrivals(receivers, goal) && arrived;
            measureBurst(nothing, &clocks);
            measureBurst(lanes, &copies);
            measureBurst(wakingLanes, &wakes);
            // Its threads have nothing to do but to go back to sleep.
            sleepUs(200);
        }
    }).join();
    const auto cpu = [&](const Spent &spent) { return perLine(spent.cpu - clocks.cpu, bursts); };
    const auto elapsed = [&](const Spent &spent) { return perLine(spent.elapsed - clocks.elapsed, bursts); };
    *cost = {cpu(ours), elapsed(ours), cpu(copies), elapsed(copies), cpu(wakes)};
    return arrived;
}
