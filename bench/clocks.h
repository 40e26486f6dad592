#pragma once

#include <cstdint>
#include <ctime>

/// Nanoseconds of the clock \a id.
inline int64_t clockNs(clockid_t id)
{
    timespec now{};
    clock_gettime(id, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

/// Monotonic time; the same for all processes of this computer.
inline int64_t nowNs()
{
    return clockNs(CLOCK_MONOTONIC);
}

/// Processor time of all threads of this process, the kernel's share included.
inline int64_t processCpuNs()
{
    return clockNs(CLOCK_PROCESS_CPUTIME_ID);
}

/// Processor time of the calling thread. It goes on neither while another thread has the processor nor while
/// this one sleeps.
inline int64_t threadCpuNs()
{
    return clockNs(CLOCK_THREAD_CPUTIME_ID);
}

inline void sleepUs(int64_t microseconds)
{
    const timespec time{time_t(microseconds / 1'000'000), long(microseconds % 1'000'000 * 1000)};
    nanosleep(&time, nullptr);
}
