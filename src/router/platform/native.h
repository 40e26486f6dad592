#pragma once

#include <cstdint>

/// The platform beneath threads.h and udp.h: what a system must offer for these two layers. Each system has
/// one folder that defines these functions. They have C linkage so that a linker can put a failing one in the
/// place of any of them. A function that makes a record gives a null pointer on failure; a number that is no
/// special result is 0 for success and NativeFailed for failure.

/// Results of a wait, and of every function that only succeeds or fails.
enum NativeResult : int
{
    NativeTaken = 0,
    NativeTimedOut = 1,
    NativeFailed = -1,
    NativeNotReady = -2, ///< of nativeSocketSend() alone
};

/// As the milliseconds of a wait: without limit.
constexpr uint32_t nativeForever = UINT32_MAX;

struct NativeMutex;     ///< recursive, owned by a thread
struct NativeSemaphore; ///< counts up to a maximum
struct NativeLock;      ///< plain lock, never entered twice by one thread
struct NativeThread;    ///< a thread that must be joined

/// The platform's name for a socket.
using NativeSocket = intptr_t;
constexpr NativeSocket nativeNoSocket = -1;

/// What nativeDottedAddress() gives for a text that is no dotted address.
constexpr uint32_t nativeNoAddress = UINT32_MAX;

extern "C" {

NativeMutex *nativeMutexCreate();
int nativeMutexLock(NativeMutex *mutex);
/// NativeTaken; NativeTimedOut if another thread holds it; NativeFailed.
int nativeMutexTryLock(NativeMutex *mutex);
/// Fails if the calling thread does not hold it.
int nativeMutexUnlock(NativeMutex *mutex);
int nativeMutexClose(NativeMutex *mutex);

NativeSemaphore *nativeSemaphoreCreate(int32_t initial, int32_t maximum);
/// Takes one count, waiting for \a milliseconds on the monotonic clock. NativeTaken, NativeTimedOut,
/// NativeFailed.
int nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds);
/// Adds \a count, at least 1, in one step; beyond the maximum it fails and changes nothing.
int nativeSemaphorePost(NativeSemaphore *semaphore, int32_t count);
int nativeSemaphoreClose(NativeSemaphore *semaphore);

NativeLock *nativeLockCreate();
void nativeLockEnter(NativeLock *lock);
void nativeLockLeave(NativeLock *lock);
void nativeLockDelete(NativeLock *lock);
/// The one lock that is there from the start and is never deleted.
NativeLock *nativeSharedLock();

/// Runs \a entry on a new thread with at least \a stackBytes of stack for itself: what the system takes from
/// a stack, such as room for thread-local data, comes on top. The thread takes none of the process's
/// asynchronous signals.
NativeThread *nativeThreadCreate(uint32_t (*entry)(void *), void *argument, uint32_t stackBytes);
/// Waits until \a thread has ended and frees it.
void nativeThreadJoin(NativeThread *thread);
/// 0 gives up the rest of the time slice.
void nativeSleep(uint32_t milliseconds);

/// Starts the socket library where there is one. Each success is paired with one nativeNetworkStop().
int nativeNetworkStart();
void nativeNetworkStop();

/// A UDP socket over IPv4, not inherited by programs that the process starts; nativeNoSocket on failure.
NativeSocket nativeSocketCreate();
int nativeSocketAllowBroadcast(NativeSocket socket);
/// Binds to \a port, host byte order, on all interfaces; 0 lets the platform pick one.
int nativeSocketBind(NativeSocket socket, uint16_t port);
/// NativeTaken once a datagram can be sent; NativeTimedOut; NativeFailed.
int nativeSocketWaitWritable(NativeSocket socket, uint32_t timeoutMicroseconds);
/// Sends one datagram without waiting, address and port in host byte order. The bytes sent; NativeNotReady if
/// the socket must be waited for first; NativeFailed.
int32_t nativeSocketSend(NativeSocket socket, const void *data, int32_t length, uint32_t address,
                         uint16_t port);
int nativeSocketClose(NativeSocket socket);

/// The address of a dotted text in host byte order, or nativeNoAddress.
uint32_t nativeDottedAddress(const char *text);
/// The first IPv4 address of a host name in host byte order, 0 if there is none. Waits for the name service.
uint32_t nativeLookUp(const char *name);
}
