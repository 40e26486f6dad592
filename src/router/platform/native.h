#pragma once

#include "threadannotations.h"

#include <cstdint>

/// The functions of the operating system that platformthreads.h and udp.h need. posix/ and windows/ implement
/// them. They have C linkage, so that tests can replace any of them at link time by one that fails. A
/// function that creates an object returns a null pointer on failure. A function that closes one frees it,
/// even on failure. A function that returns int returns NativeTaken (0) for success or NativeFailed, unless
/// its comment lists other results.

/// Results of the functions that return int. nativeSocketSend() returns one of the last two in place of a
/// number of bytes.
enum NativeResult : int
{
    NativeTaken = 0,
    NativeTimedOut = 1,
    NativeFailed = -1,
    NativeNotReady = -2, ///< only from nativeSocketSend()
};

/// The number of milliseconds with which nativeSemaphoreWait() waits without limit.
constexpr uint32_t nativeForever = UINT32_MAX;

struct NativeMutex;                    ///< recursive, owned by a thread
struct NativeSemaphore;                ///< counts up to a maximum
struct CAPABILITY("mutex") NativeLock; ///< not recursive: a thread must not enter it twice
struct NativeThread;                   ///< a thread that must be joined

/// The platform's handle of a socket: a descriptor on POSIX, a SOCKET on Windows.
using NativeSocket = intptr_t;
constexpr NativeSocket nativeNoSocket = -1;

/// Result of nativeDottedAddress() for a text that is not a dotted address, and for 255.255.255.255, which
/// nativeLookUp() resolves.
constexpr uint32_t nativeNoAddress = UINT32_MAX;

extern "C" {

NativeMutex *nativeMutexCreate();
int nativeMutexLock(NativeMutex *mutex);
/// Returns NativeTaken, NativeTimedOut if another thread holds \a mutex, or NativeFailed.
int nativeMutexTryLock(NativeMutex *mutex);
/// Fails if the calling thread does not hold \a mutex.
int nativeMutexUnlock(NativeMutex *mutex);
int nativeMutexClose(NativeMutex *mutex);

NativeSemaphore *nativeSemaphoreCreate(int32_t initial, int32_t maximum);
/// Takes one count, for which it waits at most \a milliseconds on the monotonic clock. Returns NativeTaken,
/// NativeTimedOut or NativeFailed.
int nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds);
/// Adds \a count, which is at least 1. Fails and changes nothing if the sum would exceed the maximum.
int nativeSemaphorePost(NativeSemaphore *semaphore, int32_t count);
int nativeSemaphoreClose(NativeSemaphore *semaphore);

NativeLock *nativeLockCreate();
void nativeLockEnter(NativeLock *lock) ACQUIRE(lock);
void nativeLockLeave(NativeLock *lock) RELEASE(lock);
void nativeLockDelete(NativeLock *lock);
/// Returns the one lock that exists without nativeLockCreate() and is never deleted.
NativeLock *nativeSharedLock();

/// Runs \a entry with \a argument on a new thread with at least \a stackBytes of stack. The result of
/// \a entry is not used. On POSIX, what the C library takes from the stack, such as thread-local storage, is
/// added. Asynchronous signals are blocked on the thread, so that signals to the process reach the threads of
/// the host.
NativeThread *nativeThreadCreate(uint32_t (*entry)(void *), void *argument, uint32_t stackBytes);
/// Waits until \a thread has ended and frees it.
void nativeThreadJoin(NativeThread *thread);
/// Suspends the calling thread for \a milliseconds; 0 gives up the rest of its time slice.
void nativeSleep(uint32_t milliseconds);

/// Starts the socket library of a system that has one, which the socket functions and nativeLookUp() need.
/// Each success must be paired with one nativeNetworkStop().
int nativeNetworkStart();
void nativeNetworkStop();

/// Creates a UDP socket over IPv4 that programs started by this process do not inherit. Returns
/// nativeNoSocket on failure.
NativeSocket nativeSocketCreate();
int nativeSocketAllowBroadcast(NativeSocket socket);
/// Binds to \a port, in host byte order, on all interfaces; with 0 the system picks a port.
int nativeSocketBind(NativeSocket socket, uint16_t port);
/// Waits at most \a timeoutMicroseconds, on POSIX rounded up to milliseconds, until a datagram can be sent.
/// Returns NativeTaken, NativeTimedOut or NativeFailed.
int nativeSocketWaitWritable(NativeSocket socket, uint32_t timeoutMicroseconds);
/// Sends one datagram without waiting. \a address and \a port are in host byte order. Returns the number of
/// bytes sent, NativeNotReady if the socket is not ready, or NativeFailed.
int32_t nativeSocketSend(NativeSocket socket, const void *data, int32_t length, uint32_t address,
                         uint16_t port);
int nativeSocketClose(NativeSocket socket);

/// Returns the address that \a text gives in a notation that inet_addr() accepts, such as 192.168.0.1 or
/// 127.1, in host byte order, or nativeNoAddress.
uint32_t nativeDottedAddress(const char *text);
/// Returns the first IPv4 address of a host name in host byte order, or 0 if there is none. Waits for the
/// name service.
uint32_t nativeLookUp(const char *name);
}
