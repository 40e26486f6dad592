#pragma once

#include "threads.h"

/// Holds one level of a mutex for as long as it lives.
class MutexGuard
{
public:
    explicit MutexGuard(Mutex *mutex)
        : m_mutex(mutex)
    {
        mutexLock(m_mutex);
    }
    ~MutexGuard() { mutexUnlock(m_mutex); }

    MutexGuard(const MutexGuard &) = delete;
    MutexGuard &operator=(const MutexGuard &) = delete;

private:
    Mutex *m_mutex;
};
