#pragma once

#include "native.h"

#include <atomic>
#include <climits>
#include <new>

// Lets a test see what a worker waits for, hold up its sends, and make the platform refuse. The linker puts
// the functions below in front of the platform's (--wrap). One source file of a program may include this.

namespace seam {

enum Call
{
    NoCall,
    Memory, ///< operator new of what can do without
    MutexCreate,
    SemaphoreCreate,
    SemaphoreWait,
    LineWait, ///< a wait with a limit: for a wake-up, not for a gate
    LockCreate,
    ThreadCreate,
    SocketCreate,
    SocketNotReady,   ///< a send would have to wait
    SocketWait,       ///< as SocketNotReady, and the wait fails
    SocketWaitInTime, ///< as SocketNotReady, and the wait times out
    SocketSend,
    SocketSendShort,
    LookUp
};

inline std::atomic<Call> refused{NoCall};
inline std::atomic<int> granted{0}; // calls that still succeed before the refusals begin
inline std::atomic<int> refusals{0};
inline std::atomic<int> mostRefusals{0};

inline bool refuses(Call call)
{
    if (refused != call || granted-- > 0 || refusals >= mostRefusals)
        return false;
    ++refusals;
    return true;
}

/// Refuses a call for as long as it lives, after the first \a spared ones and at most \a times.
class Refusal
{
public:
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

// Waits with a limit are those of a worker for lines. They end by a wake-up alone, unless a test lets them
// time out.
inline std::atomic<bool> timeOuts{false};
inline std::atomic<int> lineWaits{0};
inline std::atomic<int> endedLineWaits{0};
inline std::atomic<NativeSemaphore *> lineQueue{nullptr}; // of the last condition that was made
inline std::atomic<int> wakeUps{0};                       // posts to it
inline std::atomic<int> takenWakeUps{0};

/// Whether the one worker waits and is not being woken: all that it can do with the lines of before is done.
inline bool isAsleep()
{
    return wakeUps == takenWakeUps && lineWaits == endedLineWaits + 1;
}

enum Path
{
    Open,
    Slow, ///< a send takes as long as a send may
    Held  ///< sends do not end
};

inline std::atomic<Path> path{Open};
inline std::atomic<int> sends{0};         // begun
inline std::atomic<int> writableWaits{0}; // begun
inline std::atomic<bool> isPaced{false};  // a send waits until the receiver has room
inline std::atomic<int> bytesUnderWay{0}; // to the receiver, which takes them off

/// What a datagram takes up of the receiver's room.
inline int bytesTaken(int length)
{
    return length + 500;
}

inline std::atomic<bool> holdLookUps{false}; // each for ten seconds at most
inline std::atomic<int> lookUpsBegun{0};
inline std::atomic<int> lookUpsEnded{0};

} // namespace seam

void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return seam::refuses(seam::Memory) ? nullptr : ::operator new(size);
}

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's.

/// A function that does nothing but give \a refusal where it is to refuse.
#define SEAM(Result, call, parameters, arguments, refusal)                                                   \
    Result __real_native##call parameters;                                                                   \
    Result __wrap_native##call parameters                                                                    \
    {                                                                                                        \
        return seam::refuses(seam::call) ? (refusal) : __real_native##call arguments;                        \
    }

extern "C" {

SEAM(NativeMutex *, MutexCreate, (), (), nullptr)
SEAM(NativeLock *, LockCreate, (), (), nullptr)
SEAM(NativeThread *, ThreadCreate, (uint32_t(*entry)(void *), void *argument, uint32_t stackBytes),
     (entry, argument, stackBytes), nullptr)
SEAM(NativeSocket, SocketCreate, (), (), nativeNoSocket)
NativeSemaphore *__real_nativeSemaphoreCreate(int32_t, int32_t);
NativeSemaphore *__wrap_nativeSemaphoreCreate(int32_t initial, int32_t most)
{
    if (seam::refuses(seam::SemaphoreCreate))
        return nullptr;
    NativeSemaphore *made = __real_nativeSemaphoreCreate(initial, most);
    if (initial == 0) // not a gate
        seam::lineQueue = made;
    return made;
}

int __real_nativeSemaphoreWait(NativeSemaphore *, uint32_t);
int __wrap_nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    const bool isForLines = milliseconds != nativeForever;
    seam::lineWaits += isForLines;
    const bool fails = seam::refuses(seam::SemaphoreWait) || (isForLines && seam::refuses(seam::LineWait));
    int result = fails ? int(NativeFailed) : __real_nativeSemaphoreWait(semaphore, milliseconds);
    while (isForLines && result == NativeTimedOut && !seam::timeOuts)
        result = __real_nativeSemaphoreWait(semaphore, 1);
    seam::endedLineWaits += isForLines;
    seam::takenWakeUps += semaphore == seam::lineQueue && result == NativeTaken;
    return result;
}

int __real_nativeSemaphorePost(NativeSemaphore *, int32_t);
int __wrap_nativeSemaphorePost(NativeSemaphore *semaphore, int32_t count)
{
    seam::wakeUps += semaphore == seam::lineQueue ? count : 0;
    return __real_nativeSemaphorePost(semaphore, count);
}

int __real_nativeSocketWaitWritable(NativeSocket, uint32_t);
int __wrap_nativeSocketWaitWritable(NativeSocket socket, uint32_t timeoutMicroseconds)
{
    ++seam::writableWaits;
    if (seam::refuses(seam::SocketWait))
        return NativeFailed;
    return seam::refuses(seam::SocketWaitInTime)
               ? int(NativeTimedOut)
               : __real_nativeSocketWaitWritable(socket, timeoutMicroseconds);
}

int32_t __real_nativeSocketSend(NativeSocket, const void *, int32_t, uint32_t, uint16_t);
int32_t __wrap_nativeSocketSend(NativeSocket socket, const void *data, int32_t length, uint32_t address,
                                uint16_t port)
{
    ++seam::sends;
    if (seam::refused == seam::SocketWait || seam::refused == seam::SocketWaitInTime ||
        seam::refuses(seam::SocketNotReady))
        return NativeNotReady;
    if (seam::path == seam::Slow)
        nativeSleep(100);
    while (seam::path == seam::Held)
        nativeSleep(0);
    for (int looks = 0; seam::isPaced && seam::bytesUnderWay > 20000 && looks < 10000; ++looks)
        nativeSleep(looks < 1000 ? 0 : 1);
    if (seam::refuses(seam::SocketSend))
        return NativeFailed;
    if (seam::refuses(seam::SocketSendShort))
        return length - 1;
    seam::bytesUnderWay += seam::bytesTaken(length);
    return __real_nativeSocketSend(socket, data, length, address, port);
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
