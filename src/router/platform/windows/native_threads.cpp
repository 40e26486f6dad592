#include "native.h"

#include <atomic>
#include <new>
#include <windows.h>

/// A slim reader/writer lock, which stays in user space unless it is contended. Owner and depth make it
/// recursive.
struct NativeMutex
{
    SRWLOCK lock = SRWLOCK_INIT;
    /// 0 while no thread holds the lock. Atomic, because other threads compare it with their own identifier;
    /// it equals that identifier only if the thread itself has stored it, so relaxed access is enough.
    std::atomic<DWORD> owner{0};
    uint32_t depth = 0; // accessed by the owner only
};

struct NativeSemaphore
{
    HANDLE handle;
};

struct NativeLock
{
    SRWLOCK lock = SRWLOCK_INIT;
};

struct NativeThread
{
    uint32_t (*entry)(void *);
    void *argument;
    HANDLE handle;
};

namespace {

// Constant-initialised, so that loading the plug-in runs no code for it under the loader lock.
NativeLock sharedLock;

int outcome(BOOL result)
{
    return result ? NativeTaken : NativeFailed;
}

bool isOwner(const NativeMutex *mutex)
{
    return mutex->owner.load(std::memory_order_relaxed) == GetCurrentThreadId();
}

void becomeOwner(NativeMutex *mutex)
{
    mutex->owner.store(GetCurrentThreadId(), std::memory_order_relaxed);
    mutex->depth = 1;
}

/// CreateThread() requires this calling convention, which on 32-bit systems differs from that of
/// NativeThread::entry.
DWORD WINAPI runNativeThread(void *data)
{
    const auto *thread = static_cast<NativeThread *>(data);
    return thread->entry(thread->argument);
}

} // namespace

NativeMutex *nativeMutexCreate()
{
    return new (std::nothrow) NativeMutex;
}

int nativeMutexLock(NativeMutex *mutex)
{
    if (isOwner(mutex)) {
        ++mutex->depth;
        return NativeTaken;
    }
    AcquireSRWLockExclusive(&mutex->lock);
    becomeOwner(mutex);
    return NativeTaken;
}

int nativeMutexTryLock(NativeMutex *mutex)
{
    if (isOwner(mutex)) {
        ++mutex->depth;
        return NativeTaken;
    }
    if (!TryAcquireSRWLockExclusive(&mutex->lock))
        return NativeTimedOut;
    becomeOwner(mutex);
    return NativeTaken;
}

int nativeMutexUnlock(NativeMutex *mutex)
{
    if (!isOwner(mutex))
        return NativeFailed;
    if (--mutex->depth > 0)
        return NativeTaken;
    mutex->owner.store(0, std::memory_order_relaxed);
    ReleaseSRWLockExclusive(&mutex->lock);
    return NativeTaken;
}

int nativeMutexClose(NativeMutex *mutex)
{
    delete mutex;
    return NativeTaken;
}

NativeSemaphore *nativeSemaphoreCreate(int32_t initial, int32_t maximum)
{
    auto *semaphore = new (std::nothrow) NativeSemaphore;
    if (!semaphore)
        return nullptr;
    semaphore->handle = CreateSemaphoreW(nullptr, initial, maximum, nullptr);
    if (semaphore->handle)
        return semaphore;
    delete semaphore;
    return nullptr;
}

// The time-out is relative, so setting the wall clock does not change the length of the wait.
int nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    static_assert(nativeForever == INFINITE);
    const DWORD result = WaitForSingleObject(semaphore->handle, milliseconds);
    if (result == WAIT_TIMEOUT)
        return NativeTimedOut;
    return result == WAIT_OBJECT_0 ? NativeTaken : NativeFailed;
}

int nativeSemaphorePost(NativeSemaphore *semaphore, int32_t count)
{
    return outcome(ReleaseSemaphore(semaphore->handle, count, nullptr));
}

int nativeSemaphoreClose(NativeSemaphore *semaphore)
{
    const BOOL closed = CloseHandle(semaphore->handle);
    delete semaphore;
    return outcome(closed);
}

NativeLock *nativeLockCreate()
{
    return new (std::nothrow) NativeLock;
}

void nativeLockEnter(NativeLock *lock) UNCHECKED_LOCKING
{
    AcquireSRWLockExclusive(&lock->lock);
}

void nativeLockLeave(NativeLock *lock) UNCHECKED_LOCKING
{
    ReleaseSRWLockExclusive(&lock->lock);
}

void nativeLockDelete(NativeLock *lock)
{
    delete lock;
}

NativeLock *nativeSharedLock()
{
    return &sharedLock;
}

// Without STACK_SIZE_PARAM_IS_A_RESERVATION, stackBytes would be the memory committed at once, and the
// program's default size would be reserved. Windows has no asynchronous signals to block.
NativeThread *nativeThreadCreate(uint32_t (*entry)(void *), void *argument, uint32_t stackBytes)
{
    auto *thread = new (std::nothrow) NativeThread{entry, argument, nullptr};
    if (!thread)
        return nullptr;
    thread->handle = CreateThread(nullptr, stackBytes, runNativeThread, thread,
                                  STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (thread->handle)
        return thread;
    delete thread;
    return nullptr;
}

// The handle is signalled after the thread has run all its code, so the library may be unloaded afterwards.
void nativeThreadJoin(NativeThread *thread)
{
    WaitForSingleObject(thread->handle, INFINITE);
    CloseHandle(thread->handle);
    delete thread;
}

void nativeSleep(uint32_t milliseconds)
{
    Sleep(milliseconds);
}
