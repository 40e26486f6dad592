#include "condition.h"
#include "native.h"
#include "platformthreads.h"
#include "waiting.h"

#include <QElapsedTimer>
#include <QtTest>

#include <csignal>
#include <future>
#ifdef Q_OS_UNIX
#include <pthread.h>
#endif

namespace {

using Counts = QList<int>;

constexpr uint32_t longWait = 60000; // longer than any test takes: only a wake-up ends such a wait

int onAnotherThread(int (*operation)(Mutex *), Mutex *mutex)
{
    return std::async(std::launch::async, operation, mutex).get();
}

int tryLockAndUnlock(Mutex *mutex) UNCHECKED_LOCKING
{
    return mutexTryLock(mutex) + mutexUnlock(mutex);
}

/// Returns the count of a semaphore that no other thread uses, or -1 if the count cannot be restored.
int countOf(NativeSemaphore *semaphore)
{
    int count = 0;
    while (nativeSemaphoreWait(semaphore, 0) == NativeTaken)
        ++count;
    return count == 0 || nativeSemaphorePost(semaphore, count) == NativeTaken ? count : -1;
}

/// Stands for thread-local data of a host, which the C library keeps on each thread's stack.
thread_local volatile char hostData[95000];

/// Uses nearly all of the guaranteed stack of a thread.
uint32_t useWholeStack(void *touched)
{
    volatile char stack[96000];
    for (int at = sizeof stack - 1; at >= 0; --at)
        stack[at] = 1;
    hostData[0] = 1;
    *static_cast<bool *>(touched) = stack[0] == 1;
    return 0;
}

uint32_t countUp(void *counter)
{
    threadSleep(2);
    return static_cast<uint32_t>(++*static_cast<std::atomic<int> *>(counter));
}

} // namespace

class TestThreads : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void mutexBelongsToItsThread() UNCHECKED_LOCKING; // breaks the locking rules on purpose
    void timedOutWaitersAreSubtracted();
    void condSignalWakesOneWaiterAndCondWakeAll();
    void endedThreadsLeaveNoStack();
#ifdef Q_OS_UNIX
    void threadBlocksSignalsMeantForTheHost();
#endif
    void threadLocalDataTakeNoStackFromAThread();

private:
    std::future<int> wait(uint32_t milliseconds);
    bool hasBlocked(int count);
    Counts counts() const;

    const Counts m_idle = {0, 0, 0, 0, 0, 1}; // counts() when no thread waits and the gate is open
    Mutex *m_mutex = nullptr;
    Condition *m_condition = nullptr;
};

void TestThreads::init()
{
    QCOMPARE(mutexCreate(&m_mutex), int(Succeeded));
    QCOMPARE(condCreate(&m_condition), int(Succeeded));
}

void TestThreads::cleanup()
{
    QCOMPARE(condDestroy(m_condition), int(Succeeded));
    QCOMPARE(mutexDestroy(m_mutex), int(Succeeded));
}

/// Waits on another thread. The result is that of the wait, or -2 if the mutex was not held after it.
std::future<int> TestThreads::wait(uint32_t milliseconds)
{
    return std::async(std::launch::async, [this, milliseconds] {
        mutexLock(m_mutex);
        const int result = condTimedWait(m_condition, m_mutex, milliseconds);
        return mutexUnlock(m_mutex) == Succeeded ? result : -2;
    });
}

/// Waits until \a count waiters are counted in waitersBlocked. Returns false on a time-out.
bool TestThreads::hasBlocked(int count)
{
    return comesTrue([this, count] { return m_condition->waitersBlocked == count; });
}

/// Returns waitersBlocked, waitersToUnblock, waitersGone, waitersLate, and the counts of the queue and the
/// gate. Locks nothing: no other thread may be using the condition.
Counts TestThreads::counts() const UNCHECKED_LOCKING
{
    return {m_condition->waitersBlocked, m_condition->waitersToUnblock, m_condition->waitersGone,
            m_condition->waitersLate,    countOf(m_condition->queue),   countOf(m_condition->gate)};
}

void TestThreads::mutexBelongsToItsThread()
{
    QCOMPARE(mutexLock(m_mutex), int(Succeeded));
    QCOMPARE(mutexTryLock(m_mutex), int(Succeeded));
    QCOMPARE(onAnotherThread(mutexUnlock, m_mutex), int(PlatformFailed));
    QCOMPARE(mutexUnlock(m_mutex), int(Succeeded));
    QCOMPARE(onAnotherThread(mutexTryLock, m_mutex), int(MutexHeldElsewhere));
    QCOMPARE(mutexUnlock(m_mutex), int(Succeeded));
    QCOMPARE(mutexUnlock(m_mutex), int(PlatformFailed));
    QCOMPARE(onAnotherThread(tryLockAndUnlock, m_mutex), int(Succeeded));
}

void TestThreads::timedOutWaitersAreSubtracted() UNCHECKED_LOCKING
{
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(wait(30).get(), int(WaitTimedOut));
    QVERIFY(timer.elapsed() >= 30);
    QCOMPARE(wait(0).get(), int(WaitTimedOut));
    QCOMPARE(counts(), (Counts{2, 0, 2, 0, 0, 1}));

    std::future<int> woken = wait(longWait);
    QVERIFY(hasBlocked(3));
    QCOMPARE(condSignal(m_condition), int(Succeeded));
    QCOMPARE(woken.get(), int(Succeeded));
    QCOMPARE(counts(), m_idle);
    // Without any wake-up, waitersGone is subtracted when it reaches its limit. The counters are set without
    // the lock, because no other thread uses the condition.
    m_condition->waitersBlocked = 499999998;
    m_condition->waitersGone = 499999998;
    QCOMPARE(wait(0).get(), int(WaitTimedOut));
    QCOMPARE(counts(), (Counts{499999999, 0, 499999999, 0, 0, 1}));
    QCOMPARE(wait(0).get(), int(WaitTimedOut));
    QCOMPARE(counts(), m_idle);
}

void TestThreads::condSignalWakesOneWaiterAndCondWakeAll()
{
    std::vector<std::future<int>> waits;
    waits.reserve(4);
    for (int waiter = 0; waiter < 3; ++waiter)
        waits.push_back(wait(longWait));
    QVERIFY(hasBlocked(3));
    QCOMPARE(condSignal(m_condition), int(Succeeded));
    QCOMPARE(m_condition->waitersBlocked.load(), 2);
    // The woken waiter opens the gate for new waiters, although two others still sleep.
    waits.push_back(wait(longWait));
    QVERIFY(hasBlocked(3));
    QCOMPARE(condWake(m_condition, 1), int(Succeeded));
    for (std::future<int> &result : waits)
        QCOMPARE(result.get(), int(Succeeded));
    QCOMPARE(counts(), m_idle);
}

/// Four threads start threads and await only some of them.
void TestThreads::endedThreadsLeaveNoStack()
{
    constexpr int rounds = 300;
    std::atomic<int> unawaited{0};
    const auto work = [&unawaited] {
        int missed = 0;
        for (int i = 0; i < rounds; ++i) {
            std::atomic<int> mine{0};
            threadStart(countUp, &mine);
            threadStart(countUp, &unawaited);
            threadStart(countUp, &mine);
            threadAwait(&mine);
            missed += mine != 2;
        }
        return missed;
    };
    const int remains = threadRemainsCount();
    std::vector<std::future<int>> workers;
    workers.reserve(4);
    for (int worker = 0; worker < 4; ++worker)
        workers.push_back(std::async(std::launch::async, work));
    for (std::future<int> &missed : workers)
        QCOMPARE(missed.get(), 0);
    // Without joins, each of the 1200 unawaited threads would count.
    QVERIFY(threadRemainsCount() - remains < rounds);

    // Two threads may await the same thread.
    threadStart(countUp, &unawaited);
    std::future<int> seenByOther = std::async(std::launch::async, [&unawaited] {
        threadAwait(&unawaited);
        return unawaited.load();
    });
    threadAwait(&unawaited);
    QCOMPARE(unawaited.load(), 4 * rounds + 1);
    QCOMPARE(seenByOther.get(), 4 * rounds + 1);
}

#ifdef Q_OS_UNIX
void TestThreads::threadBlocksSignalsMeantForTheHost()
{
    sigset_t mask = {};
    const auto look = [](void *data) -> uint32_t {
        return pthread_sigmask(SIG_BLOCK, nullptr, static_cast<sigset_t *>(data)) == 0;
    };
    QCOMPARE(threadStart(look, &mask), int(Succeeded));
    threadAwait(&mask);
    QVERIFY(sigismember(&mask, SIGTERM) && sigismember(&mask, SIGCHLD));
    QVERIFY(!sigismember(&mask, SIGSEGV) && !sigismember(&mask, SIGFPE));
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    QVERIFY(!sigismember(&mask, SIGTERM));
}
#endif

void TestThreads::threadLocalDataTakeNoStackFromAThread()
{
    bool touched = false;
    QCOMPARE(threadStart(useWholeStack, &touched), int(Succeeded));
    threadAwait(&touched);
    QVERIFY(touched);
}

QTEST_GUILESS_MAIN(TestThreads)
#include "test_threads.moc"
