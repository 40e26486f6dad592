#pragma once

#include "native.h"

#include <atomic>
#include <new>

// Lets a test make the platform refuse, and counts what is made through it. The linker puts the functions
// below in front of the platform's (--wrap). One source file of a program may include this.

namespace seam {

enum Call
{
    NoCall,
    Memory, ///< operator new of what can do without
    MutexCreate,
    MutexClose,
    SemaphoreCreate,
    SemaphoreWait,
    SemaphoreSleep, ///< a wait with a limit: for a wake-up, not for a gate
    SemaphorePost,
    SemaphoreClose,
    LockCreate,
    ThreadCreate,
    NetworkStart,
    SocketCreate,
    SocketBroadcast,
    SocketBind,
    SocketReady,     ///< the wait fails
    SocketReadyLate, ///< the wait times out
    SocketSend,
    SocketSendShort,
    SocketClose,
    LookUp
};

inline std::atomic<Call> refused{NoCall};
inline std::atomic<int> granted{0}; // calls that still succeed before the refusals begin
inline std::atomic<int> refusals{0};

inline std::atomic<int> records{0};          // made and not given back, of all kinds
inline std::atomic<int> sockets{0};          // of these the sockets
inline std::atomic<int> lineWaits{0};        // begun waits with a limit: a worker without lines
inline std::atomic<int> stuckWaits{0};       // waits without limit that did not end
inline std::atomic<bool> holdLookUps{false}; // each for ten seconds at most
inline std::atomic<int> lookUpsBegun{0};
inline std::atomic<int> lookUpsEnded{0};

inline bool refuses(Call call)
{
    if (refused != call || granted-- > 0)
        return false;
    ++refusals;
    return true;
}

template <typename Record>
Record *counted(Record *record)
{
    records += record ? 1 : 0;
    return record;
}

/// What gives something back does so even where it reports a failure.
inline int closed(Call call, int result)
{
    --records;
    return refuses(call) ? NativeFailed : result;
}

/// Refuses a call for as long as it lives, after the first \a spared ones.
class Refusal
{
public:
    explicit Refusal(Call call, int spared = 0)
    {
        refusals = 0;
        granted = spared;
        refused = call;
    }
    ~Refusal() { refused = NoCall; }
    Refusal(const Refusal &) = delete;
    Refusal &operator=(const Refusal &) = delete;

    static bool wasMet() { return refusals > 0; }
};

} // namespace seam

void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return seam::refuses(seam::Memory) ? nullptr : ::operator new(size);
}

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's.
extern "C" {

NativeMutex *__real_nativeMutexCreate();
NativeMutex *__wrap_nativeMutexCreate()
{
    return seam::refuses(seam::MutexCreate) ? nullptr : seam::counted(__real_nativeMutexCreate());
}

int __real_nativeMutexClose(NativeMutex *);
int __wrap_nativeMutexClose(NativeMutex *mutex)
{
    return seam::closed(seam::MutexClose, __real_nativeMutexClose(mutex));
}

NativeSemaphore *__real_nativeSemaphoreCreate(int32_t, int32_t);
NativeSemaphore *__wrap_nativeSemaphoreCreate(int32_t initial, int32_t maximum)
{
    return seam::refuses(seam::SemaphoreCreate)
               ? nullptr
               : seam::counted(__real_nativeSemaphoreCreate(initial, maximum));
}

int __real_nativeSemaphoreWait(NativeSemaphore *, uint32_t);
int __wrap_nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    const bool limited = milliseconds != nativeForever;
    if (limited)
        ++seam::lineWaits;
    if (seam::refuses(seam::SemaphoreWait) || (limited && seam::refuses(seam::SemaphoreSleep)))
        return NativeFailed;
    if (limited)
        return __real_nativeSemaphoreWait(semaphore, milliseconds);
    // A gate opens at once: better a test that fails than one that stands still.
    const int result = __real_nativeSemaphoreWait(semaphore, 10000);
    seam::stuckWaits += result == NativeTimedOut ? 1 : 0;
    return result;
}

int __real_nativeSemaphorePost(NativeSemaphore *, int32_t);
int __wrap_nativeSemaphorePost(NativeSemaphore *semaphore, int32_t count)
{
    return seam::refuses(seam::SemaphorePost) ? NativeFailed : __real_nativeSemaphorePost(semaphore, count);
}

int __real_nativeSemaphoreClose(NativeSemaphore *);
int __wrap_nativeSemaphoreClose(NativeSemaphore *semaphore)
{
    return seam::closed(seam::SemaphoreClose, __real_nativeSemaphoreClose(semaphore));
}

NativeLock *__real_nativeLockCreate();
NativeLock *__wrap_nativeLockCreate()
{
    return seam::refuses(seam::LockCreate) ? nullptr : seam::counted(__real_nativeLockCreate());
}

void __real_nativeLockDelete(NativeLock *);
void __wrap_nativeLockDelete(NativeLock *lock)
{
    --seam::records;
    __real_nativeLockDelete(lock);
}

NativeThread *__real_nativeThreadCreate(uint32_t (*)(void *), void *, uint32_t);
NativeThread *__wrap_nativeThreadCreate(uint32_t (*entry)(void *), void *argument, uint32_t stackBytes)
{
    return seam::refuses(seam::ThreadCreate)
               ? nullptr
               : seam::counted(__real_nativeThreadCreate(entry, argument, stackBytes));
}

void __real_nativeThreadJoin(NativeThread *);
void __wrap_nativeThreadJoin(NativeThread *thread)
{
    --seam::records;
    __real_nativeThreadJoin(thread);
}

int __real_nativeNetworkStart();
int __wrap_nativeNetworkStart()
{
    if (seam::refuses(seam::NetworkStart))
        return NativeFailed;
    ++seam::records;
    return __real_nativeNetworkStart();
}

void __real_nativeNetworkStop();
void __wrap_nativeNetworkStop()
{
    --seam::records;
    __real_nativeNetworkStop();
}

NativeSocket __real_nativeSocketCreate();
NativeSocket __wrap_nativeSocketCreate()
{
    const NativeSocket made =
        seam::refuses(seam::SocketCreate) ? nativeNoSocket : __real_nativeSocketCreate();
    seam::records += made == nativeNoSocket ? 0 : 1;
    seam::sockets += made == nativeNoSocket ? 0 : 1;
    return made;
}

int __real_nativeSocketAllowBroadcast(NativeSocket);
int __wrap_nativeSocketAllowBroadcast(NativeSocket socket)
{
    return seam::refuses(seam::SocketBroadcast) ? NativeFailed : __real_nativeSocketAllowBroadcast(socket);
}

int __real_nativeSocketBind(NativeSocket, uint16_t);
int __wrap_nativeSocketBind(NativeSocket socket, uint16_t port)
{
    return seam::refuses(seam::SocketBind) ? NativeFailed : __real_nativeSocketBind(socket, port);
}

int __real_nativeSocketWaitWritable(NativeSocket, uint32_t);
int __wrap_nativeSocketWaitWritable(NativeSocket socket, uint32_t timeoutMicroseconds)
{
    if (seam::refuses(seam::SocketReady))
        return NativeFailed;
    return seam::refuses(seam::SocketReadyLate)
               ? NativeTimedOut
               : __real_nativeSocketWaitWritable(socket, timeoutMicroseconds);
}

int32_t __real_nativeSocketSend(NativeSocket, const void *, int32_t, uint32_t, uint16_t);
int32_t __wrap_nativeSocketSend(NativeSocket socket, const void *data, int32_t length, uint32_t address,
                                uint16_t port)
{
    if (seam::refuses(seam::SocketSend))
        return -1;
    return seam::refuses(seam::SocketSendShort)
               ? length - 1
               : __real_nativeSocketSend(socket, data, length, address, port);
}

int __real_nativeSocketClose(NativeSocket);
int __wrap_nativeSocketClose(NativeSocket socket)
{
    --seam::sockets;
    return seam::closed(seam::SocketClose, __real_nativeSocketClose(socket));
}

uint32_t __real_nativeLookUp(const char *);
uint32_t __wrap_nativeLookUp(const char *name)
{
    ++seam::lookUpsBegun;
    for (int milliseconds = 0; seam::holdLookUps && milliseconds < 10000; ++milliseconds)
        nativeSleep(1);
    const uint32_t address = seam::refuses(seam::LookUp) ? 0 : __real_nativeLookUp(name);
    ++seam::lookUpsEnded;
    return address;
}
}
// NOLINTEND(bugprone-reserved-identifier)
