#include "native.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <initializer_list>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

struct NativeMutex
{
    pthread_mutex_t mutex;
};

struct NativeSemaphore
{
    pthread_mutex_t mutex;
    pthread_cond_t posted;
    int32_t count;
    int32_t maximum;
    int32_t waiters;
};

struct NativeLock
{
    pthread_mutex_t mutex;
};

struct NativeThread
{
    uint32_t (*entry)(void *);
    void *argument;
    pthread_t thread;
};

namespace {

NativeLock sharedLock = {PTHREAD_MUTEX_INITIALIZER};

int outcome(int error)
{
    return error == 0 ? NativeTaken : NativeFailed;
}

bool initRecursive(pthread_mutex_t *mutex)
{
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0)
        return false;
    const bool made = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                      pthread_mutex_init(mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    return made;
}

/// The monotonic clock: a wait must not change its length when the wall clock is set.
bool initMonotonic(pthread_cond_t *condition)
{
    pthread_condattr_t attributes;
    if (pthread_condattr_init(&attributes) != 0)
        return false;
    const bool made = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC) == 0 &&
                      pthread_cond_init(condition, &attributes) == 0;
    pthread_condattr_destroy(&attributes);
    return made;
}

bool initParts(NativeSemaphore *semaphore)
{
    if (pthread_mutex_init(&semaphore->mutex, nullptr) != 0)
        return false;
    if (initMonotonic(&semaphore->posted))
        return true;
    pthread_mutex_destroy(&semaphore->mutex);
    return false;
}

timespec timeAfter(uint32_t milliseconds)
{
    constexpr long nanosecondsInSecond = 1000000000;
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    time.tv_sec += milliseconds / 1000;
    time.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
    if (time.tv_nsec >= nanosecondsInSecond) {
        time.tv_nsec -= nanosecondsInSecond;
        ++time.tv_sec;
    }
    return time;
}

/// Sleeps, with the semaphore's mutex held, until there is a count to take or the time has passed.
int sleepUntilPosted(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    const bool limited = milliseconds != nativeForever;
    const timespec deadline = limited ? timeAfter(milliseconds) : timespec{};
    int error = 0;
    ++semaphore->waiters;
    while (semaphore->count == 0 && error == 0) {
        error = limited ? pthread_cond_timedwait(&semaphore->posted, &semaphore->mutex, &deadline)
                        : pthread_cond_wait(&semaphore->posted, &semaphore->mutex);
    }
    --semaphore->waiters;
    return error;
}

int takeCount(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    int error = 0;
    if (semaphore->count == 0)
        error = milliseconds == 0 ? ETIMEDOUT : sleepUntilPosted(semaphore, milliseconds);
    if (semaphore->count > 0) {
        --semaphore->count;
        return NativeTaken;
    }
    return error == ETIMEDOUT ? NativeTimedOut : NativeFailed;
}

void *runNativeThread(void *data)
{
    const auto *thread = static_cast<NativeThread *>(data);
    thread->entry(thread->argument);
    return nullptr;
}

size_t wholePages(size_t bytes)
{
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return (bytes + page - 1) / page * page;
}

int createWithStack(NativeThread *thread, size_t stackBytes)
{
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0)
        return error;
    error = pthread_attr_setstacksize(&attributes, stackBytes);
    if (error == 0)
        error = pthread_create(&thread->thread, &attributes, runNativeThread, thread);
    pthread_attr_destroy(&attributes);
    return error;
}

/// The platform refuses a stack that its own needs, such as the thread-local data of all libraries, would use
/// up; its default is large enough then.
int createThread(NativeThread *thread, size_t stackBytes)
{
    const int error = createWithStack(thread, wholePages(stackBytes));
    return error == EINVAL ? pthread_create(&thread->thread, nullptr, runNativeThread, thread) : error;
}

/// Everything but the signals that a fault of the thread itself raises: a new thread has the mask of the one
/// that makes it, and the process's signals are for the threads of the host.
sigset_t asynchronousSignals()
{
    sigset_t signals;
    sigfillset(&signals);
    for (const int synchronous : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
        sigdelset(&signals, synchronous);
    return signals;
}

} // namespace

NativeMutex *nativeMutexCreate()
{
    auto *mutex = new (std::nothrow) NativeMutex;
    if (!mutex || initRecursive(&mutex->mutex))
        return mutex;
    delete mutex;
    return nullptr;
}

int nativeMutexLock(NativeMutex *mutex)
{
    return outcome(pthread_mutex_lock(&mutex->mutex));
}

int nativeMutexTryLock(NativeMutex *mutex)
{
    const int error = pthread_mutex_trylock(&mutex->mutex);
    return error == EBUSY ? NativeTimedOut : outcome(error);
}

int nativeMutexUnlock(NativeMutex *mutex)
{
    return outcome(pthread_mutex_unlock(&mutex->mutex));
}

int nativeMutexClose(NativeMutex *mutex)
{
    const int error = pthread_mutex_destroy(&mutex->mutex);
    delete mutex;
    return outcome(error);
}

NativeSemaphore *nativeSemaphoreCreate(int32_t initial, int32_t maximum)
{
    auto *semaphore = new (std::nothrow) NativeSemaphore;
    if (!semaphore)
        return nullptr;
    if (!initParts(semaphore)) {
        delete semaphore;
        return nullptr;
    }
    semaphore->count = initial;
    semaphore->maximum = maximum;
    semaphore->waiters = 0;
    return semaphore;
}

int nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    if (pthread_mutex_lock(&semaphore->mutex) != 0)
        return NativeFailed;
    const int result = takeCount(semaphore, milliseconds);
    pthread_mutex_unlock(&semaphore->mutex);
    return result;
}

int nativeSemaphorePost(NativeSemaphore *semaphore, int32_t count)
{
    if (pthread_mutex_lock(&semaphore->mutex) != 0)
        return NativeFailed;
    const bool fits = count <= semaphore->maximum - semaphore->count;
    if (fits)
        semaphore->count += count;
    const int32_t waiters = semaphore->waiters;
    pthread_mutex_unlock(&semaphore->mutex);
    if (!fits)
        return NativeFailed;
    // Behind the lock, so that a woken waiter does not stop at it at once.
    if (waiters == 0)
        return NativeTaken;
    return outcome(count == 1 ? pthread_cond_signal(&semaphore->posted)
                              : pthread_cond_broadcast(&semaphore->posted));
}

int nativeSemaphoreClose(NativeSemaphore *semaphore)
{
    const int conditionError = pthread_cond_destroy(&semaphore->posted);
    const int mutexError = pthread_mutex_destroy(&semaphore->mutex);
    delete semaphore;
    return conditionError == 0 && mutexError == 0 ? NativeTaken : NativeFailed;
}

NativeLock *nativeLockCreate()
{
    auto *lock = new (std::nothrow) NativeLock;
    if (!lock || pthread_mutex_init(&lock->mutex, nullptr) == 0)
        return lock;
    delete lock;
    return nullptr;
}

void nativeLockEnter(NativeLock *lock)
{
    pthread_mutex_lock(&lock->mutex);
}

void nativeLockLeave(NativeLock *lock)
{
    pthread_mutex_unlock(&lock->mutex);
}

void nativeLockDelete(NativeLock *lock)
{
    pthread_mutex_destroy(&lock->mutex);
    delete lock;
}

NativeLock *nativeSharedLock()
{
    return &sharedLock;
}

NativeThread *nativeThreadCreate(uint32_t (*entry)(void *), void *argument, uint32_t stackBytes)
{
    auto *thread = new (std::nothrow) NativeThread{entry, argument, {}};
    if (!thread)
        return nullptr;
    const sigset_t blocked = asynchronousSignals();
    sigset_t before;
    const bool masked = pthread_sigmask(SIG_BLOCK, &blocked, &before) == 0;
    const int error = createThread(thread, stackBytes);
    if (masked)
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error == 0)
        return thread;
    delete thread;
    return nullptr;
}

void nativeThreadJoin(NativeThread *thread)
{
    pthread_join(thread->thread, nullptr);
    delete thread;
}

void nativeSleep(uint32_t milliseconds)
{
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    const timespec end = timeAfter(milliseconds);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}
