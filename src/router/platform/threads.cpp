#include "threads.h"

#include "condition.h"
#include "native.h"

#include <atomic>
#include <new>

struct Mutex
{
    NativeMutex *handle;
};

namespace {

constexpr int succeeded = 0;
constexpr int platformFailed = -1;
constexpr int noMemory = -11;

constexpr int32_t queueMaximum = 1000000000;
/// With half of the range taken by waiters that have left, their two counters are folded before they
/// overflow.
constexpr int32_t goneLimit = 500000000;

constexpr uint32_t threadStackBytes = 102400;

class LockGuard
{
public:
    explicit LockGuard(NativeLock *lock)
        : m_lock(lock)
    {
        nativeLockEnter(m_lock);
    }
    ~LockGuard() { nativeLockLeave(m_lock); }
    LockGuard(const LockGuard &) = delete;
    LockGuard &operator=(const LockGuard &) = delete;

private:
    NativeLock *m_lock;
};

// Every write of waitersBlocked is made with the gate closed, which gives it its order.

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

void forgetGone(Condition *condition)
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
        return platformFailed;
    addBlocked(condition, 1);
    return openGate(condition);
}

/// How a waiter leaves the queue.
struct Departure
{
    bool timedOut = false;
    bool last = false; ///< opens the gate behind its group
    int32_t drain = 0; ///< posts to take back before that
};

int leaveGroup(Condition *condition, Departure *departure)
{
    if (departure->timedOut) {
        // A wake-up was on its way to this waiter, so it counts as woken.
        ++condition->waitersLate;
        departure->timedOut = false;
    }
    if (--condition->waitersToUnblock > 0)
        return succeeded;
    if (blocked(condition) > 0)
        return openGate(condition);
    departure->drain = condition->waitersLate;
    condition->waitersLate = 0;
    departure->last = true;
    return succeeded;
}

int leaveAlone(Condition *condition)
{
    ++condition->waitersGone;
    if (condition->waitersGone < goneLimit)
        return succeeded;
    if (closeGate(condition) != NativeTaken)
        return platformFailed;
    forgetGone(condition);
    return openGate(condition);
}

int accountFor(Condition *condition, Departure *departure)
{
    const LockGuard guard(condition->lock);
    if (condition->waitersToUnblock > 0)
        return leaveGroup(condition, departure);
    return leaveAlone(condition);
}

/// Takes the posts that late waiters left, so that none wakes a later waiter, then lets newcomers in. Runs
/// outside the lock: a wake-up may wait for the gate with the lock held.
int closeGroup(Condition *condition, int32_t drain)
{
    for (; drain > 0; --drain) {
        if (nativeSemaphoreWait(condition->queue, nativeForever) != NativeTaken)
            return platformFailed;
    }
    return openGate(condition);
}

int startGroup(Condition *condition)
{
    if (closeGate(condition) != NativeTaken)
        return platformFailed;
    forgetGone(condition);
    return succeeded;
}

/// Assigns wake-ups to waiters; \a posts tells how many the queue is owed.
int assignWakeUps(Condition *condition, bool all, int32_t *posts)
{
    const LockGuard guard(condition->lock);
    const bool inGroup = condition->waitersToUnblock > 0;
    if (blocked(condition) <= (inGroup ? 0 : condition->waitersGone))
        return succeeded;
    if (!inGroup && startGroup(condition) != succeeded)
        return platformFailed;
    *posts = all ? blocked(condition) : 1;
    condition->waitersToUnblock += *posts;
    addBlocked(condition, -*posts);
    return succeeded;
}

/// A thread that has not been joined. Kept in a list, since the library may be unloaded as soon as its
/// objects are gone: by then the last instruction of each thread must have run, not only the last one of its
/// entry function.
struct ThreadRecord
{
    void *argument;
    NativeThread *thread = nullptr;
    std::atomic<bool> finished{false}; ///< only the thread's way out is left to run
    bool claimed = false;              ///< somebody joins it and removes it
    ThreadRecord *next = nullptr;
};

/// Guarded by nativeSharedLock(). A plain pointer, so that nothing is destroyed when the library is unloaded.
ThreadRecord *firstThread = nullptr;

/// The values for a new thread, on the starter's stack.
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
    // The starter's frame may be gone from here on.
    start->started.store(1, std::memory_order_release);
    const uint32_t exitCode = entry(argument);
    record->finished.store(true, std::memory_order_release);
    return exitCode;
}

/// Makes the thread and enters it in the list in one step, so that nothing the thread does can lead to a
/// threadAwait() that misses it.
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

/// The first record that \a wanted accepts and nobody has claimed, now claimed by the caller; null if none.
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

/// Joins without the lock, so that other threads may be started meanwhile. The record stays in the list until
/// the thread has ended: another threadAwait() must go on waiting for it.
void joinClaimed(ThreadRecord *record)
{
    nativeThreadJoin(record->thread);
    removeThread(record);
    delete record;
}

/// Keeps the list and the stacks from piling up when threads are started and never awaited.
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
        return noMemory;
    made->handle = nativeMutexCreate();
    if (!made->handle) {
        delete made;
        return platformFailed;
    }
    *mutex = made;
    return succeeded;
}

int mutexLock(Mutex *mutex)
{
    return nativeMutexLock(mutex->handle);
}

int mutexTryLock(Mutex *mutex)
{
    return nativeMutexTryLock(mutex->handle);
}

int mutexUnlock(Mutex *mutex)
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
        return noMemory;
    made->lock = nativeLockCreate();
    if (made->lock && makeSemaphores(made)) {
        *condition = made;
        return succeeded;
    }
    if (made->lock)
        nativeLockDelete(made->lock);
    delete made;
    return noMemory;
}

int condDestroy(Condition *condition)
{
    nativeLockDelete(condition->lock);
    const int queueResult = nativeSemaphoreClose(condition->queue);
    const int gateResult = nativeSemaphoreClose(condition->gate);
    delete condition;
    return queueResult == 0 && gateResult == 0 ? succeeded : platformFailed;
}

int condTimedWait(Condition *condition, Mutex *mutex, uint32_t milliseconds)
{
    if (countAtGate(condition) != succeeded)
        return platformFailed;
    mutexUnlock(mutex);
    const int outcome = nativeSemaphoreWait(condition->queue, milliseconds);
    if (outcome == NativeFailed)
        return platformFailed;
    Departure departure{outcome == NativeTimedOut};
    if (accountFor(condition, &departure) != succeeded)
        return platformFailed;
    if (departure.last && closeGroup(condition, departure.drain) != succeeded)
        return platformFailed;
    mutexLock(mutex);
    return departure.timedOut ? 1 : 0;
}

int condWake(Condition *condition, int all)
{
    int32_t posts = 0;
    if (assignWakeUps(condition, all != 0, &posts) != succeeded)
        return platformFailed;
    return posts == 0 ? succeeded : nativeSemaphorePost(condition->queue, posts);
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
        return platformFailed;
    ThreadStart start{entry, argument, record};
    if (!launch(&start)) {
        delete record;
        return platformFailed;
    }
    while (start.started.load(std::memory_order_acquire) == 0)
        nativeSleep(0);
    return succeeded;
}

void threadAwait(void *argument)
{
    const auto startedWith = [argument](const ThreadRecord *record) { return record->argument == argument; };
    while (hasThread(argument)) {
        if (ThreadRecord *record = claimThread(startedWith))
            joinClaimed(record);
        else
            nativeSleep(1); // somebody else is joining it
    }
}

void threadSleep(uint32_t milliseconds)
{
    nativeSleep(milliseconds);
}
