#pragma once

#include "platformthreads.h"

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
    ~MutexGuard() RELEASE() { mutexUnlock(m_mutex); }

    MutexGuard(const MutexGuard &) = delete;
    MutexGuard &operator=(const MutexGuard &) = delete;

private:
    Mutex *m_mutex;
};

} // namespace networksettings2g
