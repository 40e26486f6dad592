#include "platformthreads.h"

#include "condition.h"
#include "native.h"

#include <atomic>
#include <new>

struct CAPABILITY("mutex") Mutex
{
    NativeMutex *handle;
};

namespace {

constexpr int32_t queueMaximum = 1000000000; // more posts than there can be waiters
/// When waitersGone reaches this number, it is subtracted from waitersBlocked, before either can overflow.
constexpr int32_t goneLimit = 500000000;

constexpr uint32_t threadStackBytes = 102400;

/// So often a starting thread gives up its time slice before it sleeps. Giving it up does not let a thread of
/// lower priority run on every system.
constexpr int yields = 100;

class SCOPED_CAPABILITY LockGuard
{
public:
    explicit LockGuard(NativeLock *lock) ACQUIRE(lock)
        : m_lock(lock)
    {
        nativeLockEnter(m_lock);
    }
    ~LockGuard() RELEASE() { nativeLockLeave(m_lock); }
    LockGuard(const LockGuard &) = delete;
    LockGuard &operator=(const LockGuard &) = delete;

private:
    NativeLock *m_lock;
};

// waitersBlocked is written only while the gate is closed; the gate orders the writes, so relaxed access is
// enough.

int32_t blocked(const Condition *condition)
{
    return condition->waitersBlocked.load(std::memory_order_relaxed);
}

void addBlocked(Condition *condition, int32_t count)
{
    condition->waitersBlocked.store(blocked(condition) + count, std::memory_order_relaxed);
}

int openGate(Condition *condition)
{
    return nativeSemaphorePost(condition->gate, 1);
}

int closeGate(Condition *condition)
{
    return nativeSemaphoreWait(condition->gate, nativeForever);
}

void forgetGone(Condition *condition) REQUIRES(condition->lock)
{
    addBlocked(condition, -condition->waitersGone);
    condition->waitersGone = 0;
}

bool makeSemaphores(Condition *condition)
{
    condition->queue = nativeSemaphoreCreate(0, queueMaximum);
    if (!condition->queue)
        return false;
    condition->gate = nativeSemaphoreCreate(1, 1);
    if (condition->gate)
        return true;
    nativeSemaphoreClose(condition->queue);
    return false;
}

int countAtGate(Condition *condition)
{
    if (closeGate(condition) != NativeTaken)
        return PlatformFailed;
    addBlocked(condition, 1);
    return openGate(condition);
}

/// How a waiter leaves the queue.
struct Departure
{
    bool timedOut = false;
    bool last = false; ///< it is the last of its group, and no other thread waits: it must call closeGroup()
    int32_t drain = 0; ///< posts of late waiters that closeGroup() must take
};

int leaveGroup(Condition *condition, Departure *departure) REQUIRES(condition->lock)
{
    if (departure->timedOut) {
        // A wake-up was issued to this waiter, so it counts as woken.
        ++condition->waitersLate;
        departure->timedOut = false;
    }
    if (--condition->waitersToUnblock > 0)
        return Succeeded;
    if (blocked(condition) > 0)
        return openGate(condition);
    departure->drain = condition->waitersLate;
    condition->waitersLate = 0;
    departure->last = true;
    return Succeeded;
}

int leaveWithoutWakeUp(Condition *condition) REQUIRES(condition->lock)
{
    ++condition->waitersGone;
    if (condition->waitersGone < goneLimit)
        return Succeeded;
    if (closeGate(condition) != NativeTaken)
        return PlatformFailed;
    forgetGone(condition);
    return openGate(condition);
}

int accountFor(Condition *condition, Departure *departure)
{
    const LockGuard guard(condition->lock);
    if (condition->waitersToUnblock > 0)
        return leaveGroup(condition, departure);
    return leaveWithoutWakeUp(condition);
}

/// Takes the posts that late waiters have left, so that none of them wakes a later waiter, then opens the
/// gate. Called without the lock, so that no condWake() waits for the lock while this function waits for a
/// post that another condWake() is about to make.
int closeGroup(Condition *condition, int32_t drain)
{
    for (; drain > 0; --drain) {
        if (nativeSemaphoreWait(condition->queue, nativeForever) != NativeTaken)
            return PlatformFailed;
    }
    return openGate(condition);
}

int startGroup(Condition *condition) REQUIRES(condition->lock)
{
    if (closeGate(condition) != NativeTaken)
        return PlatformFailed;
    forgetGone(condition);
    return Succeeded;
}

/// Assigns wake-ups to waiters and writes to \a posts how many posts the caller must make to the queue.
/// Leaves \a posts unchanged if no thread waits.
int assignWakeUps(Condition *condition, bool all, int32_t *posts)
{
    const LockGuard guard(condition->lock);
    const bool inGroup = condition->waitersToUnblock > 0;
    if (blocked(condition) <= (inGroup ? 0 : condition->waitersGone))
        return Succeeded;
    if (!inGroup && startGroup(condition) != Succeeded)
        return PlatformFailed;
    *posts = all ? blocked(condition) : 1;
    condition->waitersToUnblock += *posts;
    addBlocked(condition, -*posts);
    return Succeeded;
}

/// A thread that has not been joined. All records are kept in a list, so that every thread is joined before
/// the library is unloaded: until a thread has ended, it may execute the library's code.
struct ThreadRecord
{
    void *argument;
    NativeThread *thread = nullptr;
    std::atomic<bool> finished{false}; ///< the entry function has returned
    /// Another thread joins this one and removes the record.
    bool claimed GUARDED_BY(nativeSharedLock()) = false;
    ThreadRecord *next GUARDED_BY(nativeSharedLock()) = nullptr;
};

/// The head of the list. A plain pointer, so that nothing is destroyed when the library is unloaded.
ThreadRecord *firstThread GUARDED_BY(nativeSharedLock()) = nullptr;

/// The arguments for a new thread, on the stack of the thread that starts it.
struct ThreadStart
{
    uint32_t (*entry)(void *);
    void *argument;
    ThreadRecord *record;
    std::atomic<uint32_t> started{0};
};

uint32_t runThread(void *data)
{
    auto *start = static_cast<ThreadStart *>(data);
    const auto entry = start->entry;
    void *const argument = start->argument;
    ThreadRecord *const record = start->record;
    // After this store the starting thread may return, which ends the life of *start.
    start->started.store(1, std::memory_order_release);
    const uint32_t exitCode = entry(argument);
    record->finished.store(true, std::memory_order_release);
    return exitCode;
}

/// Creates the thread and adds it to the list without releasing the lock in between. Otherwise the new thread
/// could cause a call of threadAwait() that does not find it.
bool launch(ThreadStart *start)
{
    const LockGuard guard(nativeSharedLock());
    start->record->thread = nativeThreadCreate(runThread, start, threadStackBytes);
    if (!start->record->thread)
        return false;
    start->record->next = firstThread;
    firstThread = start->record;
    return true;
}

/// Claims and returns the first unclaimed record that \a wanted accepts, or null if there is none.
template <typename Predicate>
ThreadRecord *claimThread(Predicate wanted)
{
    const LockGuard guard(nativeSharedLock());
    for (ThreadRecord *record = firstThread; record; record = record->next) {
        if (!record->claimed && wanted(record)) {
            record->claimed = true;
            return record;
        }
    }
    return nullptr;
}

bool hasThread(const void *argument)
{
    const LockGuard guard(nativeSharedLock());
    for (const ThreadRecord *record = firstThread; record; record = record->next) {
        if (record->argument == argument)
            return true;
    }
    return false;
}

void removeThread(const ThreadRecord *record)
{
    const LockGuard guard(nativeSharedLock());
    ThreadRecord **link = &firstThread;
    while (*link != record)
        link = &(*link)->next;
    *link = record->next;
}

/// Joins the thread without holding the lock, so that other threads can be started meanwhile. The record
/// stays in the list until the thread has ended, because another threadAwait() may be waiting for that
/// thread.
void joinClaimed(ThreadRecord *record)
{
    nativeThreadJoin(record->thread);
    removeThread(record);
    delete record;
}

/// Joins finished threads, so that their records and stacks do not accumulate until threadAwait() is called.
void joinFinished()
{
    const auto finished = [](const ThreadRecord *record) {
        return record->finished.load(std::memory_order_acquire);
    };
    while (ThreadRecord *record = claimThread(finished))
        joinClaimed(record);
}

} // namespace

int mutexCreate(Mutex **mutex)
{
    auto *made = new (std::nothrow) Mutex;
    if (!made)
        return NoMemory;
    made->handle = nativeMutexCreate();
    if (!made->handle) {
        delete made;
        return PlatformFailed;
    }
    *mutex = made;
    return Succeeded;
}

// The functions of native.h return the values of ThreadResult, so their results can be returned unchanged.
static_assert(int{NativeTaken} == Succeeded && int{NativeFailed} == PlatformFailed);
static_assert(int{NativeTimedOut} == MutexHeldElsewhere);

int mutexLock(Mutex *mutex) UNCHECKED_LOCKING
{
    return nativeMutexLock(mutex->handle);
}

int mutexTryLock(Mutex *mutex)
{
    return nativeMutexTryLock(mutex->handle);
}

int mutexUnlock(Mutex *mutex) UNCHECKED_LOCKING
{
    return nativeMutexUnlock(mutex->handle);
}

int mutexDestroy(Mutex *mutex)
{
    const int result = nativeMutexClose(mutex->handle);
    delete mutex;
    return result;
}

int condCreate(Condition **condition)
{
    auto *made = new (std::nothrow) Condition;
    if (!made)
        return NoMemory;
    made->lock = nativeLockCreate();
    if (made->lock && makeSemaphores(made)) {
        *condition = made;
        return Succeeded;
    }
    if (made->lock)
        nativeLockDelete(made->lock);
    delete made;
    return NoMemory;
}

int condDestroy(Condition *condition)
{
    nativeLockDelete(condition->lock);
    const int queueResult = nativeSemaphoreClose(condition->queue);
    const int gateResult = nativeSemaphoreClose(condition->gate);
    delete condition;
    return queueResult == NativeTaken && gateResult == NativeTaken ? Succeeded : PlatformFailed;
}

int condTimedWait(Condition *condition, Mutex *mutex, uint32_t milliseconds) UNCHECKED_LOCKING
{
    if (countAtGate(condition) != Succeeded)
        return PlatformFailed;
    mutexUnlock(mutex);
    const int outcome = nativeSemaphoreWait(condition->queue, milliseconds);
    if (outcome == NativeFailed)
        return PlatformFailed;
    Departure departure{outcome == NativeTimedOut};
    if (accountFor(condition, &departure) != Succeeded)
        return PlatformFailed;
    if (departure.last && closeGroup(condition, departure.drain) != Succeeded)
        return PlatformFailed;
    mutexLock(mutex);
    return departure.timedOut ? WaitTimedOut : Succeeded;
}

int condWake(Condition *condition, int all)
{
    int32_t posts = 0;
    if (assignWakeUps(condition, all != 0, &posts) != Succeeded)
        return PlatformFailed;
    return posts == 0 ? Succeeded : nativeSemaphorePost(condition->queue, posts);
}

int condSignal(Condition *condition)
{
    return condWake(condition, 0);
}

int threadStart(uint32_t (*entry)(void *), void *argument)
{
    joinFinished();
    auto *record = new (std::nothrow) ThreadRecord{argument};
    if (!record)
        return PlatformFailed;
    ThreadStart start{entry, argument, record};
    if (!launch(&start)) {
        delete record;
        return PlatformFailed;
    }
    for (int round = 0; start.started.load(std::memory_order_acquire) == 0; ++round)
        nativeSleep(round < yields ? 0 : 1);
    return Succeeded;
}

void threadAwait(void *argument)
{
    const auto startedWith = [argument](const ThreadRecord *record) { return record->argument == argument; };
    while (hasThread(argument)) {
        if (ThreadRecord *record = claimThread(startedWith))
            joinClaimed(record);
        else
            nativeSleep(1); // another thread is joining it
    }
}

void threadSleep(uint32_t milliseconds)
{
    nativeSleep(milliseconds);
}
