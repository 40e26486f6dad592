#pragma once

#include "threadannotations.h"

#include <cstdint>

/// Locks, waiting and threads for the router: plain functions on opaque heap records, without Qt and without
/// exceptions. A function that makes a record writes its out parameter only on success. No argument may be
/// null.

/// The results of these functions.
enum ThreadResult : int
{
    Succeeded = 0,
    MutexHeldElsewhere = 1, ///< only from mutexTryLock()
    WaitTimedOut = 1,       ///< only from condTimedWait()
    PlatformFailed = -1,
    NoMemory = -11 ///< no memory for the record, or no semaphore
};

/// A recursive mutex, owned by the thread that holds it.
struct CAPABILITY("mutex") Mutex;

/// A condition variable for at most one waiting thread at a time; any number of threads may wake it.
struct Condition;

/// Makes a mutex that nobody holds. Succeeded, NoMemory or PlatformFailed.
int mutexCreate(Mutex **mutex);

/// Waits without limit until the calling thread holds \a mutex. A thread that already holds it holds it once
/// more. Succeeded or PlatformFailed.
int mutexLock(Mutex *mutex) ACQUIRE(mutex);

/// Locks \a mutex without waiting. Succeeded, MutexHeldElsewhere or PlatformFailed.
int mutexTryLock(Mutex *mutex);

/// Releases one level of \a mutex. PlatformFailed if the calling thread does not hold it.
int mutexUnlock(Mutex *mutex) RELEASE(mutex);

/// Frees \a mutex, which no thread may use any more, also if the platform refuses (PlatformFailed).
int mutexDestroy(Mutex *mutex);

/// Makes a condition. Succeeded or NoMemory.
int condCreate(Condition **condition);

/// Frees \a condition, which no thread may use any more, also if the platform refuses (PlatformFailed).
int condDestroy(Condition *condition);

/// Releases \a mutex, which the caller holds exactly once, sleeps until a wake-up or for \a milliseconds on
/// the monotonic clock, and locks the mutex again. Succeeded (woken), WaitTimedOut, or PlatformFailed: it is
/// then unknown whether the mutex is held, and the condition is unusable.
int condTimedWait(Condition *condition, Mutex *mutex, uint32_t milliseconds) REQUIRES(mutex);

/// Wakes one waiter (\a all 0) or all. A wake-up that finds no waiter is lost. Succeeded or PlatformFailed.
int condWake(Condition *condition, int all);

/// Wakes one waiter: condWake() with \a all 0.
int condSignal(Condition *condition);

/// Runs \a entry with \a argument on a new thread with a stack of 102400 bytes. Returns when the new thread
/// has taken both values. PlatformFailed if no thread was made. The result of \a entry is not used.
int threadStart(uint32_t (*entry)(void *), void *argument);

/// Waits until every thread that was started with \a argument has ended, its exit code included, so that the
/// library may be unloaded. Must not be called by such a thread. Threads with other arguments are not waited
/// for.
void threadAwait(void *argument);

/// Suspends the calling thread; 0 gives up the rest of its time slice.
void threadSleep(uint32_t milliseconds);
