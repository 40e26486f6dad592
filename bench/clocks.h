#pragma once

#include <cstdint>
#include <ctime>

namespace bench {

/// Returns the time of the clock \a id in nanoseconds.
inline int64_t clockNs(clockid_t id)
{
    timespec now{};
    clock_gettime(id, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

/// Returns the monotonic time in nanoseconds, which is the same for all processes of the computer.
inline int64_t nowNs()
{
    return clockNs(CLOCK_MONOTONIC);
}

/// Returns the CPU time of all threads of this process, user and system, in nanoseconds.
inline int64_t processCpuNs()
{
    return clockNs(CLOCK_PROCESS_CPUTIME_ID);
}

/// Returns the CPU time of the calling thread in nanoseconds. It does not advance while the thread is
/// preempted or asleep.
inline int64_t threadCpuNs()
{
    return clockNs(CLOCK_THREAD_CPUTIME_ID);
}

} // namespace bench
