#include "native.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <initializer_list>
#include <link.h>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <unistd.h>

struct NativeMutex
{
    pthread_mutex_t mutex;
};

/// The maximum of sem_t cannot be chosen, so the count is tracked separately.
struct NativeSemaphore
{
    sem_t semaphore;
    std::atomic<int32_t> count; // that of the semaphore, or higher while a post or a wait is in progress
    int32_t maximum;
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

/// Waits on the monotonic clock, so that setting the wall clock does not change the length of the wait.
int waitOnce(sem_t *semaphore, uint32_t milliseconds, const timespec &end)
{
    if (milliseconds == 0)
        return sem_trywait(semaphore);
    return milliseconds == nativeForever ? sem_wait(semaphore)
                                         : sem_clockwait(semaphore, CLOCK_MONOTONIC, &end);
}

/// Raises the count by \a added. Returns false and changes nothing if the sum would exceed the maximum.
bool raiseCount(NativeSemaphore *semaphore, int32_t added)
{
    int32_t count = semaphore->count;
    do {
        if (added > semaphore->maximum - count)
            return false;
    } while (!semaphore->count.compare_exchange_weak(count, count + added));
    return true;
}

void *runNativeThread(void *data)
{
    const auto *thread = static_cast<NativeThread *>(data);
    thread->entry(thread->argument);
    return nullptr;
}

/// Adds the size of the thread-local storage of \a library to \a sum, which points to a size_t. A callback of
/// dl_iterate_phdr().
int addThreadLocalBytes(dl_phdr_info *library, size_t /*size*/, void *sum)
{
    for (int i = 0; i < library->dlpi_phnum; ++i) {
        const ElfW(Phdr) &segment = library->dlpi_phdr[i];
        if (segment.p_type == PT_TLS)
            *static_cast<size_t *>(sum) += segment.p_memsz + segment.p_align;
    }
    return 0;
}

/// Returns an upper limit of what the C library takes from a thread's stack: the thread-local storage of the
/// program and of all loaded libraries, the C library's own record of the thread, and its reserve for
/// libraries that are loaded later. In glibc the record and the reserve take about 5 KiB.
size_t systemBytes()
{
    constexpr size_t threadRecordBytes = size_t{16} * 1024;
    size_t bytes = threadRecordBytes;
    dl_iterate_phdr(addThreadLocalBytes, &bytes);
    return bytes;
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

/// pthread_create() fails with EINVAL if the stack is too small for what the system takes from it. In that
/// case the default size is used.
int createThread(NativeThread *thread, size_t stackBytes)
{
    const int error = createWithStack(thread, wholePages(stackBytes + systemBytes()));
    return error == EINVAL ? pthread_create(&thread->thread, nullptr, runNativeThread, thread) : error;
}

/// Returns all signals except those that a fault of the thread itself raises. The returned signals are
/// blocked while a thread is created, because a new thread inherits the signal mask, and signals to the
/// process are for the host's threads.
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
    if (sem_init(&semaphore->semaphore, 0, static_cast<unsigned>(initial)) != 0) {
        delete semaphore;
        return nullptr;
    }
    semaphore->count = initial;
    semaphore->maximum = maximum;
    return semaphore;
}

int nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    const timespec end = milliseconds == nativeForever ? timespec{} : timeAfter(milliseconds);
    int result = 0;
    do {
        result = waitOnce(&semaphore->semaphore, milliseconds, end);
    } while (result != 0 && errno == EINTR);
    if (result != 0)
        return errno == ETIMEDOUT || errno == EAGAIN ? NativeTimedOut : NativeFailed;
    --semaphore->count;
    return NativeTaken;
}

int nativeSemaphorePost(NativeSemaphore *semaphore, int32_t count)
{
    if (!raiseCount(semaphore, count))
        return NativeFailed;
    int result = 0;
    for (int32_t posted = 0; posted < count && result == 0; ++posted)
        result = sem_post(&semaphore->semaphore);
    return outcome(result);
}

int nativeSemaphoreClose(NativeSemaphore *semaphore)
{
    const int result = sem_destroy(&semaphore->semaphore);
    delete semaphore;
    return outcome(result);
}

NativeLock *nativeLockCreate()
{
    auto *lock = new (std::nothrow) NativeLock;
    if (!lock || pthread_mutex_init(&lock->mutex, nullptr) == 0)
        return lock;
    delete lock;
    return nullptr;
}

void nativeLockEnter(NativeLock *lock) UNCHECKED_LOCKING
{
    pthread_mutex_lock(&lock->mutex);
}

void nativeLockLeave(NativeLock *lock) UNCHECKED_LOCKING
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
