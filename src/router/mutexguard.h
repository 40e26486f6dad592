#pragma once

#include "platformthreads.h"

#include <atomic>

namespace networksettings2g {

/// Holds one level of a recursive mutex for as long as the object lives.
class SCOPED_CAPABILITY MutexGuard
{
public:
    explicit MutexGuard(Mutex *mutex) ACQUIRE(mutex)
        : m_mutex(mutex)
    {
        mutexLock(m_mutex);
    }
    /// Counts the thread in \a wanted until it holds the mutex.
    MutexGuard(Mutex *mutex, std::atomic<int> *wanted) ACQUIRE(mutex)
        : m_mutex(mutex)
    {
        ++*wanted;
        mutexLock(m_mutex);
        --*wanted;
    }
    ~MutexGuard() RELEASE() { mutexUnlock(m_mutex); }

    MutexGuard(const MutexGuard &) = delete;
    MutexGuard &operator=(const MutexGuard &) = delete;

private:
    Mutex *m_mutex;
};

} // namespace networksettings2g
