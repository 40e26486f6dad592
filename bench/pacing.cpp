#include "pacing.h"

#include "clocks.h"
#include "frames.h"
#include "pipeline.h"
#include "receivers.h"

#include <algorithm>
#include <functional>
#include <thread>

namespace bench {

namespace {

constexpr int64_t arrivalLimitNs = 1'000'000'000;
constexpr int windowFrames = 300;

void sleepUntil(int64_t time)
{
    const timespec until{time_t(time / 1'000'000'000), long(time % 1'000'000'000)};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

/// Returns the sum of \a count over the first \a channels receivers.
uint64_t total(const Receivers &receivers, int channels, uint64_t (Receivers::*count)(int) const)
{
    uint64_t sum = 0;
    for (int channel = 0; channel < channels; ++channel)
        sum += (receivers.*count)(channel);
    return sum;
}

/// Returns the smallest difference between a receiver's current count and its count in \a before.
uint64_t fewest(const Receivers &receivers, const std::vector<uint64_t> &before)
{
    uint64_t fewest = UINT64_MAX;
    for (size_t i = 0; i < before.size(); ++i)
        fewest = std::min(fewest, receivers.datagrams(int(i)) - before[i]);
    return fewest;
}

/// Runs \a feed, which feeds \a frames frames, on a data thread. Measures until all their datagrams have
/// arrived, or until a second after the last frame.
Run measure(Pipeline &pipeline, const Receivers &receivers, int frames, const std::function<void()> &feed)
{
    const int channels = pipeline.channels();
    Run run;
    run.sent = uint64_t(frames) * uint64_t(channels);
    std::thread([&] {
        std::vector<uint64_t> goal = counts(receivers, channels);
        for (uint64_t &count : goal)
            count += uint64_t(frames);
        const uint64_t arrived = total(receivers, channels, &Receivers::datagrams);
        const uint64_t bytes = total(receivers, channels, &Receivers::bytes);
        const int64_t cpu = processCpuNs();
        feed();
        waitForArrivals(receivers, goal);
        run.cpuNs = processCpuNs() - cpu;
        run.arrived = total(receivers, channels, &Receivers::datagrams) - arrived;
        run.bytes = total(receivers, channels, &Receivers::bytes) - bytes;
    }).join();
    return run;
}

} // namespace

uint32_t nextFrameNumber()
{
    static uint32_t next = firstFrameNumber;
    return next++;
}

std::vector<uint64_t> counts(const Receivers &receivers, int channels)
{
    std::vector<uint64_t> counts(size_t(channels), 0);
    for (int channel = 0; channel < channels; ++channel)
        counts[size_t(channel)] = receivers.datagrams(channel);
    return counts;
}

bool waitForArrivals(const Receivers &receivers, const std::vector<uint64_t> &counts)
{
    const int64_t limit = nowNs() + arrivalLimitNs;
    for (size_t channel = 0; channel < counts.size();) {
        if (receivers.datagrams(int(channel)) >= counts[channel])
            ++channel;
        else if (nowNs() > limit)
            return false;
        else
            sleepUs(500);
    }
    return true;
}

bool warmUp(Pipeline &pipeline, const Receivers &receivers)
{
    constexpr int64_t limitNs = 5 * arrivalLimitNs;
    constexpr int settleUs = 20'000;
    const int channels = pipeline.channels();
    std::vector<uint64_t> before = counts(receivers, channels);
    const int64_t limit = nowNs() + limitNs;
    while (fewest(receivers, before) < 20) {
        if (nowNs() > limit)
            return false;
        pipeline.sendFrame(nextFrameNumber());
        sleepUs(1000);
    }
    do {
        before = counts(receivers, channels);
        sleepUs(settleUs);
    } while (counts(receivers, channels) != before);
    return true;
}

Run runPaced(Pipeline &pipeline, const Receivers &receivers, int rate, int frames)
{
    std::vector<int64_t> starts(size_t(frames), 0);
    uint32_t first = 0;
    Run run = measure(pipeline, receivers, frames, [&] {
        const int64_t period = 1'000'000'000 / rate;
        int64_t due = nowNs();
        for (int64_t &start : starts) {
            due += period;
            sleepUntil(due);
            const uint32_t number = nextFrameNumber();
            first = first == 0 ? number : first;
            start = pipeline.sendFrame(number);
        }
    });
    for (int frame = 0; frame < frames; ++frame) {
        for (int channel = 0; channel < pipeline.channels(); ++channel) {
            if (const int64_t arrival = receivers.arrival(channel, first + uint32_t(frame)))
                run.latenciesNs.push_back(double(arrival - starts[size_t(frame)]));
        }
    }
    std::sort(run.latenciesNs.begin(), run.latenciesNs.end());
    return run;
}

Run runWindowed(Pipeline &pipeline, const Receivers &receivers, int frames)
{
    const std::vector<uint64_t> before = counts(receivers, pipeline.channels());
    return measure(pipeline, receivers, frames, [&] {
        const int64_t limit = nowNs() + 10 * arrivalLimitNs;
        for (int fed = 0; fed < frames; ++fed) {
            // Sleep, because a busy wait would count as CPU time of the pipeline.
            while (uint64_t(fed) >= fewest(receivers, before) + windowFrames && nowNs() < limit)
                sleepUs(200);
            pipeline.sendFrame(nextFrameNumber());
        }
    });
}

} // namespace bench
