#pragma once

#include <cstdint>

/// Locks, waiting and threads for the router: plain functions on opaque heap records, without Qt and without
/// exceptions. A function that makes a record writes its out parameter only on success. No argument may be
/// null.

/// A recursive mutex, owned by the thread that holds it.
struct Mutex;

/// A condition variable for at most one waiting thread at a time; any number of threads may wake it.
struct Condition;

/// Makes a mutex that nobody holds. 0; -11 without memory for the record; -1 if the platform refuses.
int mutexCreate(Mutex **mutex);

/// Waits without limit until the calling thread holds \a mutex; a thread that holds it already holds it once
/// more. 0; -1 on failure.
int mutexLock(Mutex *mutex);

/// Takes \a mutex without waiting. 0 taken; 1 held by another thread; -1 on failure.
int mutexTryLock(Mutex *mutex);

/// Gives back one level of \a mutex. 0; -1 if the calling thread does not hold it.
int mutexUnlock(Mutex *mutex);

/// Frees \a mutex, which no thread may use any more. 0; -1 if the platform refused; it is gone in both cases.
int mutexDestroy(Mutex *mutex);

/// Makes a condition. 0; -11 without memory or semaphore.
int condCreate(Condition **condition);

/// Frees \a condition, which no thread may use any more. 0; -1 if the platform refused; it is gone in both
/// cases.
int condDestroy(Condition *condition);

/// Gives back \a mutex, which the caller holds exactly once, sleeps until a wake-up or for \a milliseconds on
/// the monotonic clock, and takes the mutex again. 0 woken; 1 timed out; -1 a platform call failed: the mutex
/// may then be held or not, and the condition is of no more use.
int condTimedWait(Condition *condition, Mutex *mutex, uint32_t milliseconds);

/// Wakes one waiter (\a all 0) or all. A wake-up that finds nobody is lost. 0; -1 a platform call failed.
int condWake(Condition *condition, int all);

/// Wakes one waiter: condWake() with \a all 0.
int condSignal(Condition *condition);

/// Runs \a entry with \a argument on a new thread with a stack of 102400 bytes. Returns when the new thread
/// has taken both values. 0; -1 if no thread was made. What \a entry returns is not used.
int threadStart(uint32_t (*entry)(void *), void *argument);

/// Waits until every thread that was started with \a argument has ended: no instruction of it, not even of
/// its way out, runs after this. Not to be called by such a thread. Threads of other arguments are not waited
/// for.
void threadAwait(void *argument);

/// Lets the calling thread sleep; 0 gives up the rest of its time slice.
void threadSleep(uint32_t milliseconds);
