#include "pacing.h"

#include "clocks.h"
#include "frames.h"
#include "receivers.h"

#include <QThread>

#include <chrono>
#include <thread>
#include <utility>

#include <sys/resource.h>

namespace bench {

namespace {

constexpr int64_t second = 1'000'000'000;

/// Returns firstFrameNumber at the first call, and then the next number at each call.
uint32_t nextFrameNumber()
{
    static uint32_t next = firstFrameNumber;
    return next++;
}

int64_t minorPageFaults()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

/// Waits until each of the first \a channels receivers has received frame \a number, or until \a limit.
/// Sleeps, because a busy wait would count as CPU time of the pipeline. Returns false if the frame does not
/// arrive.
bool waitForArrival(const Receivers &receivers, int channels, uint32_t number, int64_t limit)
{
    for (int channel = 0; channel < channels; ++channel) {
        while (receivers.arrival(channel, number).timeNs == 0) {
            if (nowNs() > limit)
                return false;
            QThread::usleep(200);
        }
    }
    return true;
}

/// Sends one frame for each element of \a starts, to which it writes the time at which the frame's latency
/// begins. Adds to \a run what the sending costs. Returns the number of the last frame.
uint32_t sendFrames(Pipeline &pipeline, const Receivers &receivers, int rate, std::vector<int64_t> *starts,
                    Run *run)
{
    constexpr uint32_t windowFrames = 300;
    const int64_t begin = nowNs();
    int64_t faults = 0;
    uint32_t number = 0;
    for (size_t frame = 0; frame < starts->size(); ++frame) {
        number = nextFrameNumber();
        if (rate > 0)
            std::this_thread::sleep_until(std::chrono::steady_clock::time_point(
                std::chrono::nanoseconds(begin + int64_t(frame + 1) * second / rate)));
        else if (frame >= windowFrames)
            waitForArrival(receivers, pipeline.channels(), number - windowFrames, begin + 10 * second);
        if (rate > 0 && frame % size_t(rate) == 0) {
            const int64_t before = std::exchange(faults, minorPageFaults());
            if (frame > 0)
                run->pageFaults.push_back(double(faults - before));
        }
        const int64_t cpu = threadCpuNs();
        (*starts)[frame] = pipeline.sendFrame(number);
        run->feedingNs += threadCpuNs() - cpu;
    }
    return number;
}

} // namespace

bool warmUp(Pipeline &pipeline, const Receivers &receivers)
{
    const int64_t limit = nowNs() + 5 * second;
    uint32_t number = 0;
    for (int frame = 0; frame < 50; ++frame) {
        number = nextFrameNumber();
        pipeline.sendFrame(number);
        QThread::usleep(1000);
    }
    return waitForArrival(receivers, pipeline.channels(), number, limit);
}

Run feed(Pipeline &pipeline, const Receivers &receivers, int rate, int frames)
{
    Run run;
    run.sent = frames * pipeline.channels();
    std::vector<int64_t> starts(size_t(frames), 0);
    uint32_t last = 0;
    std::thread([&] {
        const int64_t cpu = processCpuNs();
        last = sendFrames(pipeline, receivers, rate, &starts, &run);
        waitForArrival(receivers, pipeline.channels(), last, nowNs() + second);
        run.cpuNs = processCpuNs() - cpu;
    }).join();
    for (int frame = 0; frame < frames; ++frame) {
        for (int channel = 0; channel < pipeline.channels(); ++channel) {
            const Arrival arrival = receivers.arrival(channel, last + 1 - uint32_t(frames - frame));
            if (arrival.timeNs == 0)
                continue;
            run.bytes += arrival.bytes;
            run.latenciesNs.push_back(double(arrival.timeNs - starts[size_t(frame)]));
        }
    }
    return run;
}

} // namespace bench
