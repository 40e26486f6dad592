#include "condition.h"
#include "native.h"
#include "threads.h"

#include <QElapsedTimer>
#include <QFile>
#include <QtTest>

#include <array>
#include <csignal>
#include <pthread.h>
#include <thread>
#include <unistd.h>

#ifdef __SANITIZE_THREAD__
// One test gives back a mutex that it does not hold, and expects the refusal.
extern "C" __attribute__((visibility("default"))) const char *__tsan_default_options()
{
    return "report_mutex_bugs=0";
}
#endif

namespace {

using Counts = QList<int>;

constexpr int waitMs = 10000;
constexpr uint32_t longWait = 60000; // a wait that only a wake-up ends before the test fails

int elsewhere(int (*operation)(Mutex *), Mutex *mutex)
{
    int result = 0;
    std::thread([&] { result = operation(mutex); }).join();
    return result;
}

/// The count of a semaphore that nobody else uses meanwhile.
int countOf(NativeSemaphore *semaphore)
{
    int count = 0;
    while (nativeSemaphoreWait(semaphore, 0) == NativeTaken)
        ++count;
    return count == 0 || nativeSemaphorePost(semaphore, count) == 0 ? count : -1;
}

/// waitersBlocked, waitersToUnblock, waitersGone, waitersLate, posts in the queue, gate.
Counts countsOf(const Condition *condition)
{
    return {condition->waitersBlocked, condition->waitersToUnblock, condition->waitersGone,
            condition->waitersLate,    countOf(condition->queue),   countOf(condition->gate)};
}

const Counts idle = {0, 0, 0, 0, 0, 1};

int mappingCount()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    return maps.open(QIODevice::ReadOnly) ? maps.readAll().count('\n') : 0;
}

/// One wait in a thread of its own.
class Waiter
{
public:
    Waiter(Condition *condition, Mutex *mutex, uint32_t milliseconds)
        : m_thread([=] {
            mutexLock(mutex);
            m_result = condTimedWait(condition, mutex, milliseconds);
            m_held = mutexUnlock(mutex) == 0;
        })
    {
    }
    ~Waiter() { finish(); }

    /// What the wait gave; -2 if the mutex was not held after it.
    int finish()
    {
        if (m_thread.joinable())
            m_thread.join();
        return m_held ? m_result : -2;
    }

private:
    int m_result = -2;
    bool m_held = false;
    std::thread m_thread;
};

uint32_t waitForPost(void *semaphore)
{
    nativeSemaphoreWait(static_cast<NativeSemaphore *>(semaphore), nativeForever);
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
    void mutexBelongsToItsThread();
    void wakeUpMovesCounts_data();
    void wakeUpMovesCounts();
    void timeOutsAreTakenOff();
    void wakeUpsReachOneOrAll();
    void endedThreadsLeaveNothing();
    void signalsAreForTheHost();

private:
    Mutex *m_mutex = nullptr;
    Condition *m_condition = nullptr;
};

void TestThreads::init()
{
    QCOMPARE(mutexCreate(&m_mutex), 0);
    QCOMPARE(condCreate(&m_condition), 0);
}

void TestThreads::cleanup()
{
    QCOMPARE(condDestroy(m_condition), 0);
    QCOMPARE(mutexDestroy(m_mutex), 0);
}

void TestThreads::mutexBelongsToItsThread()
{
    QCOMPARE(mutexLock(m_mutex), 0);
    QCOMPARE(mutexTryLock(m_mutex), 0);
    QCOMPARE(elsewhere(mutexUnlock, m_mutex), -1);
    QCOMPARE(mutexUnlock(m_mutex), 0);
    QCOMPARE(elsewhere(mutexTryLock, m_mutex), 1);
    QCOMPARE(mutexUnlock(m_mutex), 0);
    QCOMPARE(mutexUnlock(m_mutex), -1);
    QCOMPARE(elsewhere([](Mutex *mutex) { return mutexTryLock(mutex) + mutexUnlock(mutex); }, m_mutex), 0);
}

void TestThreads::wakeUpMovesCounts_data()
{
    QTest::addColumn<Counts>("before");
    QTest::addColumn<int>("all");
    QTest::addColumn<Counts>("after");

    QTest::newRow("gone waiters only") << Counts{3, 0, 3, 0, 0, 1} << 1 << Counts{3, 0, 3, 0, 0, 1};
    QTest::newRow("one beside gone") << Counts{4, 0, 2, 0, 0, 1} << 0 << Counts{1, 1, 0, 0, 1, 0};
    QTest::newRow("all beside gone") << Counts{5, 0, 2, 0, 0, 1} << 1 << Counts{0, 3, 0, 0, 3, 0};
    QTest::newRow("group that has all") << Counts{0, 1, 0, 0, 0, 0} << 0 << Counts{0, 1, 0, 0, 0, 0};
    QTest::newRow("group takes one more") << Counts{2, 1, 0, 0, 0, 0} << 0 << Counts{1, 2, 0, 0, 1, 0};
    QTest::newRow("group takes all others") << Counts{2, 1, 0, 0, 0, 0} << 1 << Counts{0, 3, 0, 0, 2, 0};
}

void TestThreads::wakeUpMovesCounts()
{
    QFETCH(Counts, before);
    QFETCH(int, all);
    m_condition->waitersBlocked = before[0];
    m_condition->waitersToUnblock = before[1];
    m_condition->waitersGone = before[2];
    if (before[5] == 0)
        nativeSemaphoreWait(m_condition->gate, 0);
    QCOMPARE(condWake(m_condition, all), 0);
    QTEST(countsOf(m_condition), "after");
}

void TestThreads::timeOutsAreTakenOff()
{
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Waiter(m_condition, m_mutex, 30).finish(), 1);
    QVERIFY(timer.elapsed() >= 30);
    QCOMPARE(Waiter(m_condition, m_mutex, 0).finish(), 1);
    QCOMPARE(countsOf(m_condition), (Counts{2, 0, 2, 0, 0, 1}));

    Waiter waiter(m_condition, m_mutex, longWait);
    QTRY_COMPARE_WITH_TIMEOUT(m_condition->waitersBlocked.load(), 3, waitMs);
    QCOMPARE(condSignal(m_condition), 0);
    QCOMPARE(waiter.finish(), 0);
    QCOMPARE(countsOf(m_condition), idle);
    // With nobody to wake them, the counters fold at their limit.
    m_condition->waitersBlocked = 499999998;
    m_condition->waitersGone = 499999998;
    QCOMPARE(Waiter(m_condition, m_mutex, 0).finish(), 1);
    QCOMPARE(countsOf(m_condition), (Counts{499999999, 0, 499999999, 0, 0, 1}));
    QCOMPARE(Waiter(m_condition, m_mutex, 0).finish(), 1);
    QCOMPARE(countsOf(m_condition), idle);
}

void TestThreads::wakeUpsReachOneOrAll()
{
    std::array<Waiter, 3> waiters = {{{m_condition, m_mutex, longWait},
                                      {m_condition, m_mutex, longWait},
                                      {m_condition, m_mutex, longWait}}};
    QTRY_COMPARE_WITH_TIMEOUT(m_condition->waitersBlocked.load(), 3, waitMs);
    QCOMPARE(condSignal(m_condition), 0);
    QCOMPARE(m_condition->waitersBlocked.load(), 2);
    // The woken waiter opens the gate for newcomers although two others still sleep.
    Waiter newcomer(m_condition, m_mutex, longWait);
    QTRY_COMPARE_WITH_TIMEOUT(m_condition->waitersBlocked.load(), 3, waitMs);
    QCOMPARE(condWake(m_condition, 1), 0);
    for (Waiter &waiter : waiters)
        QCOMPARE(waiter.finish(), 0);
    QCOMPARE(newcomer.finish(), 0);
    QCOMPARE(countsOf(m_condition), idle);
}

/// Neither awaited nor unawaited ones, while other threads start and await theirs and one goes on running.
void TestThreads::endedThreadsLeaveNothing()
{
    constexpr int rounds = 300;
    NativeSemaphore *semaphore = nativeSemaphoreCreate(0, 1);
    QCOMPARE(threadStart(waitForPost, semaphore), 0);
    std::atomic<int> unawaited{0};
    std::atomic<int> missed{0};
    const auto work = [&] {
        for (int i = 0; i < rounds; ++i) {
            std::atomic<int> mine{0};
            threadStart(countUp, &mine);
            threadStart(countUp, &unawaited);
            threadStart(countUp, &mine);
            threadAwait(&mine);
            missed += mine != 2;
        }
    };
    const int mappings = mappingCount();
    std::array<std::thread, 4> workers;
    for (std::thread &worker : workers)
        worker = std::thread(work);
    for (std::thread &worker : workers)
        worker.join();
    // Each stack that is still there would be one more at least.
    QVERIFY(mappingCount() - mappings < rounds);
    QCOMPARE(missed.load(), 0);

    // Awaited from two sides.
    threadStart(countUp, &unawaited);
    int seenElsewhere = 0;
    std::thread other([&] {
        threadAwait(&unawaited);
        seenElsewhere = unawaited;
    });
    threadAwait(&unawaited);
    QCOMPARE(unawaited.load(), 4 * rounds + 1);
    other.join();
    QCOMPARE(seenElsewhere, 4 * rounds + 1);

    QCOMPARE(nativeSemaphorePost(semaphore, 1), 0);
    threadAwait(semaphore);
    QCOMPARE(countOf(semaphore), 0);
    QCOMPARE(nativeSemaphoreClose(semaphore), 0);
}

void TestThreads::signalsAreForTheHost()
{
    sigset_t mask = {};
    const auto look = [](void *data) -> uint32_t {
        return pthread_sigmask(SIG_BLOCK, nullptr, static_cast<sigset_t *>(data)) == 0;
    };
    QCOMPARE(threadStart(look, &mask), 0);
    threadAwait(&mask);
    QVERIFY(sigismember(&mask, SIGTERM) && sigismember(&mask, SIGCHLD));
    QVERIFY(!sigismember(&mask, SIGSEGV) && !sigismember(&mask, SIGFPE));
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    QVERIFY(!sigismember(&mask, SIGTERM));
}

QTEST_GUILESS_MAIN(TestThreads)
#include "test_threads.moc"
