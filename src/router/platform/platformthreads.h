#pragma once

#include "threadannotations.h"

#include <cstdint>

/// Mutexes, condition variables and threads for the router: plain functions on opaque heap records, without
/// Qt and without exceptions. Any thread may call them. A function that creates a record writes its out
/// parameter only on success. No argument may be null.

/// The results of these functions.
enum ThreadResult : int
{
    Succeeded = 0,
    MutexHeldElsewhere = 1, ///< only from mutexTryLock()
    WaitTimedOut = 1,       ///< only from condTimedWait()
    PlatformFailed = -1,
    NoMemory = -11 ///< the record, or a lock or semaphore of a condition, could not be created
};

/// A recursive mutex, owned by the thread that holds it.
struct CAPABILITY("mutex") Mutex;

/// A condition variable. Any number of threads may wake it. If waits can time out, only one thread may wait
/// at a time (see condition.h); otherwise any number.
struct Condition;

/// Creates a mutex that no thread holds. Returns Succeeded, NoMemory, or PlatformFailed if the platform
/// provides no mutex.
int mutexCreate(Mutex **mutex);

/// Waits without limit until the calling thread holds \a mutex. A thread that already holds it gains one
/// more level. Returns Succeeded or PlatformFailed.
int mutexLock(Mutex *mutex) ACQUIRE(mutex);

/// Locks \a mutex if this is possible without waiting. Returns Succeeded, MutexHeldElsewhere or
/// PlatformFailed.
int mutexTryLock(Mutex *mutex);

/// Releases one level of \a mutex. Returns Succeeded, or PlatformFailed if another thread or none holds it.
int mutexUnlock(Mutex *mutex) RELEASE(mutex);

/// Frees \a mutex, which no thread may use any more. Returns Succeeded, or PlatformFailed if the platform
/// reports an error; the mutex is freed in both cases.
int mutexDestroy(Mutex *mutex);

/// Creates a condition variable. Returns Succeeded or NoMemory.
int condCreate(Condition **condition);

/// Frees \a condition, which no thread may use any more. Returns Succeeded, or PlatformFailed if the platform
/// reports an error; the condition is freed in both cases.
int condDestroy(Condition *condition);

/// Releases \a mutex, which the caller holds exactly once, sleeps until a wake-up or for \a milliseconds on
/// the monotonic clock, and locks the mutex again. UINT32_MAX milliseconds mean that it does not time out.
/// Returns Succeeded (woken), WaitTimedOut or PlatformFailed. After PlatformFailed it is unknown whether the
/// mutex is held, and the condition is unusable: a further wait or wake-up may block forever.
int condTimedWait(Condition *condition, Mutex *mutex, uint32_t milliseconds) REQUIRES(mutex);

/// Wakes one waiter if \a all is 0, otherwise all waiters. A wake-up that finds no waiter is lost. The caller
/// need not hold a mutex. Returns Succeeded or PlatformFailed.
int condWake(Condition *condition, int all);

/// Wakes one waiter. Does and returns the same as condWake() with 0.
int condSignal(Condition *condition);

/// Runs \a entry with \a argument on a new thread with a stack of at least 102400 bytes. Returns Succeeded
/// when the new thread has begun to run, or PlatformFailed if no thread could be created. The result of
/// \a entry is not used. The thread must be awaited (threadAwait()) before the library is unloaded.
int threadStart(uint32_t (*entry)(void *), void *argument);

/// Waits until every thread that was started with \a argument has executed its last instruction, not only its
/// entry function, so that the library may be unloaded. Must not be called by such a thread. Does not wait
/// for threads with other arguments.
void threadAwait(void *argument);

/// Suspends the calling thread for \a milliseconds; 0 gives up the rest of its time slice.
void threadSleep(uint32_t milliseconds);
