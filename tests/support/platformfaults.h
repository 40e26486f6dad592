#pragma once

#include "native.h"

#include <QByteArray>

#include <atomic>
#include <chrono>
#include <climits>
#include <functional>
#include <new>
#include <thread>

// Platform fault injection: a test observes the waits of workers, delays sends, and makes platform functions
// fail. The option --wrap of the linker redirects calls of functions of native.h to the functions
// __wrap_native...() below, which reach the real ones as __real_native...(). Only one source file of a
// program may include this header, because it defines functions that are not inline.

namespace faults {

/// The kinds of calls that a test can make fail. A kind without a comment is the function native...() of the
/// same name.
enum Call
{
    NoCall, ///< no kind
    Memory, ///< allocations by new (std::nothrow)
    MutexCreate,
    SemaphoreCreate,
    SemaphoreWait, ///< any wait for a semaphore, also LineWait
    GatePost,      ///< a post to a semaphore other than lineQueue
    LineWait,      ///< a worker's wait for lines, recognised by its time-out
    LockCreate,
    ThreadCreate,
    SocketCreate,
    SocketNotReady,   ///< a send reports that the socket is not ready
    SocketWait,       ///< no socket is ever ready, and a wait for one fails
    SocketWaitInTime, ///< no socket is ever ready, and a wait for one times out
    SocketSend,
    LookUp
};

// Set by Refusal.
inline std::atomic<Call> refused{NoCall};
inline std::atomic<int> granted{0};      // calls that will still succeed before the refusals begin
inline std::atomic<int> refusals{0};     // calls that have failed since the last Refusal was created
inline std::atomic<int> mostRefusals{0}; // the limit of refusals

/// Returns whether the current call, which is of the kind \a call, must fail, and updates granted and
/// refusals.
inline bool refuses(Call call)
{
    if (refused != call || granted-- > 0 || refusals >= mostRefusals)
        return false;
    ++refusals;
    return true;
}

/// Makes calls of one kind fail as long as it exists. Only one object may exist at a time.
class Refusal
{
public:
    /// Lets the first \a spared calls of the kind \a call succeed, and makes up to \a times of the following
    /// ones fail.
    explicit Refusal(Call call, int spared = 0, int times = INT_MAX)
    {
        refusals = 0;
        mostRefusals = times;
        granted = spared;
        refused = call;
    }
    ~Refusal() { refused = NoCall; }
    Refusal(const Refusal &) = delete;
    Refusal &operator=(const Refusal &) = delete;
};

// Of all waits for a semaphore, only a worker's wait for lines has a time-out.
inline std::atomic<bool> timeOuts{false}; // if false, a wait for lines does not time out
inline std::atomic<int> lineWaits{0};     // started
inline std::atomic<int> endedLineWaits{0};
inline std::atomic<NativeSemaphore *> lineQueue{nullptr}; // Condition::queue of the latest condition
inline std::atomic<int> wakeUps{0};                       // posts to lineQueue
inline std::atomic<int> takenWakeUps{0};                  // waits for lineQueue that have taken a post

/// Returns whether exactly \a workers workers sleep and no wake-up through lineQueue is pending. If the
/// program has no other workers, and no wake-up through another queue is pending, every complete frame has
/// then been handled.
inline bool areAsleep(int workers)
{
    return wakeUps == takenWakeUps && lineWaits == endedLineWaits + workers;
}

/// Returns areAsleep(1), for a program with one worker.
inline bool isAsleep()
{
    return areAsleep(1);
}

/// How long a send takes if the socket is ready.
enum Path
{
    Open, ///< not longer than without fault injection
    Slow, ///< 100 ms, the longest time for which a worker waits for a socket
    Held  ///< until path has another value
};

inline std::atomic<Path> path{Open};
inline std::atomic<int> sends{0};         // started
inline std::atomic<int> writableWaits{0}; // started
inline std::atomic<int> stalledPort{0};   // if not 0, no socket is ever ready to send to this port
inline std::atomic<NativeSocket> stalledSocket{nativeNoSocket}; // sends to stalledPort
inline std::atomic<bool> isStallHeld{false}; // while true, a worker's wait for stalledSocket does not return
inline std::atomic<bool> holdWokenWorkers{false}; // while true, a worker's wait for lines does not return

/// If set, takes each datagram on the thread that sends it, in place of the network, which could lose it. May
/// be changed while all workers sleep.
inline std::function<void(const QByteArray &)> takeDatagram;

/// If true, the calling thread polls for a mutex every 5 ms instead of queuing for it: the worst case of an
/// unfair mutex on a busy computer.
inline thread_local bool locksUnfairly = false;

/// While true, the first lock of a mutex by a thread does not return.
inline std::atomic<bool> holdFirstLocks{false};
inline thread_local bool hasLocked = false;

inline std::atomic<bool> holdLookUps{false}; // while true, each look-up blocks, for 10 s at most
inline std::atomic<int> lookUpsStarted{0};
inline std::atomic<int> lookUpsEnded{0};

} // namespace faults

void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return faults::refuses(faults::Memory) ? nullptr : ::operator new(size);
}

// NOLINTBEGIN(bugprone-reserved-identifier): the linker prescribes the names.

/// Defines the function that replaces native<call>(): it returns \a refusal if the test makes it fail, and
/// otherwise calls the real function.
#define FAULT_POINT(Result, call, parameters, arguments, refusal)                                            \
    Result __real_native##call parameters;                                                                   \
    Result __wrap_native##call parameters                                                                    \
    {                                                                                                        \
        return faults::refuses(faults::call) ? (refusal) : __real_native##call arguments;                    \
    }

extern "C" {

FAULT_POINT(NativeMutex *, MutexCreate, (), (), nullptr)
FAULT_POINT(NativeLock *, LockCreate, (), (), nullptr)
FAULT_POINT(NativeThread *, ThreadCreate, (uint32_t(*entry)(void *), void *argument, uint32_t stackBytes),
            (entry, argument, stackBytes), nullptr)
FAULT_POINT(NativeSocket, SocketCreate, (), (), nativeNoSocket)

int __real_nativeMutexLock(NativeMutex *);
int __wrap_nativeMutexLock(NativeMutex *mutex)
{
    while (!faults::hasLocked && faults::holdFirstLocks)
        nativeSleep(0);
    faults::hasLocked = true;
    if (!faults::locksUnfairly)
        return __real_nativeMutexLock(mutex);
    int result = nativeMutexTryLock(mutex);
    while (result != NativeTaken && result != NativeFailed) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        result = nativeMutexTryLock(mutex);
    }
    return result;
}

NativeSemaphore *__real_nativeSemaphoreCreate(int32_t, int32_t);
NativeSemaphore *__wrap_nativeSemaphoreCreate(int32_t initial, int32_t most)
{
    if (faults::refuses(faults::SemaphoreCreate))
        return nullptr;
    NativeSemaphore *made = __real_nativeSemaphoreCreate(initial, most);
    if (initial == 0) // a gate begins with 1
        faults::lineQueue = made;
    return made;
}

int __real_nativeSemaphoreWait(NativeSemaphore *, uint32_t);
int __wrap_nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    const bool isForLines = milliseconds != nativeForever;
    faults::lineWaits += isForLines;
    const bool fails =
        faults::refuses(faults::SemaphoreWait) || (isForLines && faults::refuses(faults::LineWait));
    int result = fails ? int(NativeFailed) : __real_nativeSemaphoreWait(semaphore, milliseconds);
    while (isForLines && result == NativeTimedOut && !faults::timeOuts)
        result = __real_nativeSemaphoreWait(semaphore, 1);
    while (isForLines && faults::holdWokenWorkers)
        nativeSleep(0);
    faults::endedLineWaits += isForLines;
    faults::takenWakeUps += semaphore == faults::lineQueue && result == NativeTaken;
    return result;
}

int __real_nativeSemaphorePost(NativeSemaphore *, int32_t);
int __wrap_nativeSemaphorePost(NativeSemaphore *semaphore, int32_t count)
{
    if (semaphore != faults::lineQueue && faults::refuses(faults::GatePost))
        return NativeFailed;
    faults::wakeUps += semaphore == faults::lineQueue ? count : 0;
    return __real_nativeSemaphorePost(semaphore, count);
}

int __real_nativeSocketWaitWritable(NativeSocket, uint32_t);
int __wrap_nativeSocketWaitWritable(NativeSocket socket, uint32_t timeoutMicroseconds)
{
    ++faults::writableWaits;
    if (socket == faults::stalledSocket && timeoutMicroseconds == 0)
        return NativeTimedOut;
    if (socket == faults::stalledSocket) {
        nativeSleep(timeoutMicroseconds / 1000);
        while (faults::isStallHeld)
            nativeSleep(1);
        return NativeTimedOut;
    }
    if (faults::refuses(faults::SocketWait))
        return NativeFailed;
    return faults::refuses(faults::SocketWaitInTime)
               ? int(NativeTimedOut)
               : __real_nativeSocketWaitWritable(socket, timeoutMicroseconds);
}

int32_t __real_nativeSocketSend(NativeSocket, const void *, int32_t, uint32_t, uint16_t);
int32_t __wrap_nativeSocketSend(NativeSocket socket, const void *data, int32_t length, uint32_t address,
                                uint16_t port)
{
    ++faults::sends;
    if (port == faults::stalledPort) {
        faults::stalledSocket = socket;
        return NativeNotReady;
    }
    if (faults::refused == faults::SocketWait || faults::refused == faults::SocketWaitInTime ||
        faults::refuses(faults::SocketNotReady))
        return NativeNotReady;
    if (faults::path == faults::Slow)
        nativeSleep(100);
    while (faults::path == faults::Held)
        nativeSleep(0);
    if (faults::refuses(faults::SocketSend))
        return NativeFailed;
    if (!faults::takeDatagram)
        return __real_nativeSocketSend(socket, data, length, address, port);
    faults::takeDatagram(QByteArray(static_cast<const char *>(data), length));
    return length;
}

uint32_t __real_nativeLookUp(const char *);
uint32_t __wrap_nativeLookUp(const char *name)
{
    ++faults::lookUpsStarted;
    for (int milliseconds = 0; faults::holdLookUps && milliseconds < 10000; ++milliseconds)
        nativeSleep(1);
    const uint32_t address = faults::refuses(faults::LookUp) ? 0 : __real_nativeLookUp(name);
    ++faults::lookUpsEnded;
    return address;
}
}
// NOLINTEND(bugprone-reserved-identifier)
