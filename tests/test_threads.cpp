#include "condition.h"
#include "native.h"
#include "threads.h"

#include <QDir>
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

constexpr uint32_t longWait = 60000; // a wait that only a wake-up ends before the test fails

template <typename Predicate>
bool soon(Predicate holds)
{
    return QTest::qWaitFor(holds, 10000);
}

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

int tasks()
{
    return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

bool sleeps(int task)
{
    QFile file(QStringLiteral("/proc/self/task/%1/stat").arg(task));
    return file.open(QIODevice::ReadOnly) && file.readAll().contains(") S ");
}

qint64 virtualPages()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').first().toLongLong() : 0;
}

/// One wait in a thread of its own.
class Waiter
{
public:
    Waiter(Condition *condition, Mutex *mutex, uint32_t milliseconds)
        : m_thread([=] {
            m_task = gettid();
            mutexLock(mutex);
            m_result = condTimedWait(condition, mutex, milliseconds);
            m_held = mutexUnlock(mutex) == 0;
        })
    {
    }
    ~Waiter() { finish(); }

    int task() const { return m_task; }
    /// What the wait gave; -2 if the mutex was not held after it.
    int finish()
    {
        if (m_thread.joinable())
            m_thread.join();
        return m_held ? m_result : -2;
    }

private:
    std::atomic<int> m_task{0};
    int m_result = -2;
    bool m_held = false;
    std::thread m_thread;
};

uint32_t finishLate(void *done)
{
    threadSleep(50);
    *static_cast<std::atomic<bool> *>(done) = true;
    return 0;
}

uint32_t waitForPost(void *semaphore)
{
    nativeSemaphoreWait(static_cast<NativeSemaphore *>(semaphore), nativeForever);
    return 0;
}

uint32_t countUp(void *counter)
{
    ++*static_cast<std::atomic<int> *>(counter);
    return 7;
}

} // namespace

class TestThreads : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void mutexBelongsToItsThread();
    void semaphoreKeepsItsMaximum();
    void wakeUpMovesCounts_data();
    void wakeUpMovesCounts();
    void timeOutsAreTakenOffByTheNextWakeUp();
    void wakeUpsReachOneOrAll();
    void lateWaiterCountsAsWoken();
    void countersFoldAtTheirLimit();
    void noWakeUpIsLost();
    void signalsMeetTimeOuts();
    void awaitWaitsForItsArgumentOnly();
    void endedThreadsLeaveNothing();
    void startsAndAwaitsMeet();
    void newThreadIsSetUpForAHost();

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
    QCOMPARE(elsewhere(mutexTryLock, m_mutex), 1);
    QCOMPARE(elsewhere(mutexUnlock, m_mutex), -1);
    QCOMPARE(mutexUnlock(m_mutex), 0);
    QCOMPARE(elsewhere(mutexTryLock, m_mutex), 1);
    QCOMPARE(mutexUnlock(m_mutex), 0);
    QCOMPARE(mutexUnlock(m_mutex), -1);
    QCOMPARE(elsewhere([](Mutex *mutex) { return mutexTryLock(mutex) + mutexUnlock(mutex); }, m_mutex), 0);
}

void TestThreads::semaphoreKeepsItsMaximum()
{
    NativeSemaphore *semaphore = nativeSemaphoreCreate(1, 3);
    QVERIFY(semaphore);
    QCOMPARE(nativeSemaphorePost(semaphore, 3), int(NativeFailed));
    QCOMPARE(countOf(semaphore), 1);
    QCOMPARE(nativeSemaphorePost(semaphore, 2), 0);
    QCOMPARE(nativeSemaphorePost(semaphore, INT32_MAX), int(NativeFailed));
    QCOMPARE(countOf(semaphore), 3);
    QCOMPARE(nativeSemaphoreClose(semaphore), 0);
}

void TestThreads::wakeUpMovesCounts_data()
{
    QTest::addColumn<Counts>("before");
    QTest::addColumn<int>("all");
    QTest::addColumn<Counts>("after");

    QTest::newRow("nobody") << idle << 0 << idle;
    QTest::newRow("gone waiters only") << Counts{3, 0, 3, 0, 0, 1} << 1 << Counts{3, 0, 3, 0, 0, 1};
    QTest::newRow("one of two") << Counts{2, 0, 0, 0, 0, 1} << 0 << Counts{1, 1, 0, 0, 1, 0};
    QTest::newRow("one beside gone") << Counts{3, 0, 2, 0, 0, 1} << 0 << Counts{0, 1, 0, 0, 1, 0};
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
        QCOMPARE(nativeSemaphoreWait(m_condition->gate, 0), int(NativeTaken));
    QCOMPARE(condWake(m_condition, all), 0);
    QTEST(countsOf(m_condition), "after");
}

void TestThreads::timeOutsAreTakenOffByTheNextWakeUp()
{
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Waiter(m_condition, m_mutex, 30).finish(), 1);
    QVERIFY(timer.elapsed() >= 30);
    QCOMPARE(Waiter(m_condition, m_mutex, 0).finish(), 1);
    QCOMPARE(condSignal(m_condition), 0);
    QCOMPARE(countsOf(m_condition), (Counts{2, 0, 2, 0, 0, 1}));

    Waiter waiter(m_condition, m_mutex, longWait);
    QVERIFY(soon([&] { return m_condition->waitersBlocked == 3; }));
    QCOMPARE(condSignal(m_condition), 0);
    QCOMPARE(waiter.finish(), 0);
    QCOMPARE(countsOf(m_condition), idle);
}

void TestThreads::wakeUpsReachOneOrAll()
{
    std::array<Waiter, 3> waiters = {{{m_condition, m_mutex, longWait},
                                      {m_condition, m_mutex, longWait},
                                      {m_condition, m_mutex, longWait}}};
    QVERIFY(soon([&] { return m_condition->waitersBlocked == 3; }));
    QCOMPARE(condSignal(m_condition), 0);
    QCOMPARE(m_condition->waitersBlocked.load(), 2);
    // The woken waiter opens the gate for newcomers although two others still sleep.
    Waiter newcomer(m_condition, m_mutex, longWait);
    QVERIFY(soon([&] { return m_condition->waitersBlocked == 3; }));
    QCOMPARE(condWake(m_condition, 1), 0);
    for (Waiter &waiter : waiters)
        QCOMPARE(waiter.finish(), 0);
    QCOMPARE(newcomer.finish(), 0);
    QCOMPARE(countsOf(m_condition), idle);
}

void TestThreads::lateWaiterCountsAsWoken()
{
    // The waiter's time is over, but it cannot account for that before the lock is free; the wake-up, already
    // running, nearly always takes the lock before it.
    int result = 1;
    for (int attempt = 0; attempt < 100 && result == 1; ++attempt) {
        nativeLockEnter(m_condition->lock);
        const int before = m_condition->waitersBlocked;
        Waiter waiter(m_condition, m_mutex, 0);
        QVERIFY(soon([&] { return m_condition->waitersBlocked == before + 1; }));
        QVERIFY(soon([&] { return sleeps(waiter.task()); }));
        nativeLockLeave(m_condition->lock);
        QCOMPARE(condSignal(m_condition), 0);
        result = waiter.finish();
    }
    QCOMPARE(result, 0);
    QCOMPARE(countsOf(m_condition), idle);
    QCOMPARE(Waiter(m_condition, m_mutex, 1).finish(), 1);
}

void TestThreads::countersFoldAtTheirLimit()
{
    m_condition->waitersBlocked = 499999998;
    m_condition->waitersGone = 499999998;
    QCOMPARE(Waiter(m_condition, m_mutex, 0).finish(), 1);
    QCOMPARE(countsOf(m_condition), (Counts{499999999, 0, 499999999, 0, 0, 1}));
    QCOMPARE(Waiter(m_condition, m_mutex, 0).finish(), 1);
    QCOMPARE(countsOf(m_condition), idle);
}

void TestThreads::noWakeUpIsLost()
{
    constexpr int tokens = 3000;
    int queued = 0;
    int timeOuts = 0;
    std::thread consumer([&] {
        mutexLock(m_mutex);
        for (int taken = 0; taken < tokens && timeOuts == 0; ++taken) {
            while (queued == 0 && timeOuts == 0)
                timeOuts += condTimedWait(m_condition, m_mutex, 10000);
            --queued;
        }
        mutexUnlock(m_mutex);
    });
    const auto produce = [&] {
        for (int i = 0; i < tokens / 2; ++i) {
            mutexLock(m_mutex);
            ++queued;
            mutexUnlock(m_mutex);
            condSignal(m_condition);
            threadSleep(0);
        }
    };
    std::thread other(produce);
    produce();
    other.join();
    consumer.join();
    QCOMPARE(timeOuts, 0);
    QCOMPARE(queued, 0);
}

void TestThreads::signalsMeetTimeOuts()
{
    std::atomic<bool> run{true};
    const auto signalOn = [&](int pause) {
        while (run) {
            condSignal(m_condition);
            threadSleep(pause);
        }
    };
    std::thread fast(signalOn, 0);
    std::thread slow(signalOn, 1);
    std::array<int, 2> outcomes = {};
    mutexLock(m_mutex);
    for (int i = 0; i < 20000; ++i)
        ++outcomes.at(condTimedWait(m_condition, m_mutex, i % 100 == 0 ? 1 : 0));
    QCOMPARE(mutexUnlock(m_mutex), 0);
    run = false;
    fast.join();
    slow.join();
    QVERIFY(outcomes[0] > 0);
    const int gone = m_condition->waitersGone;
    QCOMPARE(countsOf(m_condition), (Counts{gone, 0, gone, 0, 0, 1}));
}

void TestThreads::awaitWaitsForItsArgumentOnly()
{
    NativeSemaphore *semaphore = nativeSemaphoreCreate(0, 2);
    QCOMPARE(threadStart(waitForPost, semaphore), 0);
    QCOMPARE(threadStart(waitForPost, semaphore), 0);

    // Awaited from two sides while the threads of the other argument still run.
    std::atomic<bool> done{false};
    bool otherSaw = false;
    QCOMPARE(threadStart(finishLate, &done), 0);
    std::thread other([&] {
        threadAwait(&done);
        otherSaw = done;
    });
    threadAwait(&done);
    QVERIFY(done);
    other.join();
    QVERIFY(otherSaw);

    QCOMPARE(nativeSemaphorePost(semaphore, 2), 0);
    threadAwait(semaphore);
    QCOMPARE(countOf(semaphore), 0);
    QCOMPARE(nativeSemaphoreClose(semaphore), 0);
}

void TestThreads::endedThreadsLeaveNothing()
{
    constexpr int starts = 1000;
    constexpr int megabytesLeft = 16; // the stacks alone would be a hundred
    std::atomic<int> counter{0};
    const auto startMany = [&](int count) {
        for (int i = 0; i < count; ++i) {
            QCOMPARE(threadStart(countUp, &counter), 0);
            QVERIFY(soon([&] { return counter > i; }));
        }
    };
    const int tasksBefore = tasks();
    startMany(20);
    counter = 0;
    const qint64 pagesBefore = virtualPages();
    startMany(starts);
    QVERIFY(soon([&] { return tasks() <= tasksBefore + 1; }));
    QVERIFY((virtualPages() - pagesBefore) * sysconf(_SC_PAGESIZE) / 1048576 < megabytesLeft);
    threadAwait(&counter);
    QCOMPARE(counter.load(), starts);
    QVERIFY(soon([&] { return tasks() == tasksBefore; }));
}

void TestThreads::startsAndAwaitsMeet()
{
    constexpr int rounds = 300;
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
    std::array<std::thread, 4> workers;
    for (std::thread &worker : workers)
        worker = std::thread(work);
    for (std::thread &worker : workers)
        worker.join();
    threadAwait(&unawaited);
    QCOMPARE(missed.load(), 0);
    QCOMPARE(unawaited.load(), 4 * rounds);
}

void TestThreads::newThreadIsSetUpForAHost()
{
    struct Setup
    {
        sigset_t mask;
        size_t stackBytes;
    } setup = {};
    const auto look = [](void *data) -> uint32_t {
        auto *seen = static_cast<Setup *>(data);
        pthread_sigmask(SIG_BLOCK, nullptr, &seen->mask);
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &seen->stackBytes);
        pthread_attr_destroy(&attributes);
        return 0;
    };
    QCOMPARE(threadStart(look, &setup), 0);
    threadAwait(&setup);
    for (const int signal : {SIGINT, SIGTERM, SIGCHLD, SIGUSR1, SIGALRM})
        QVERIFY(sigismember(&setup.mask, signal));
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL})
        QVERIFY(!sigismember(&setup.mask, signal));
    QVERIFY(setup.stackBytes >= 102400);
    QVERIFY(setup.stackBytes < 1048576);

    sigset_t own;
    pthread_sigmask(SIG_BLOCK, nullptr, &own);
    QVERIFY(!sigismember(&own, SIGTERM));
}

QTEST_GUILESS_MAIN(TestThreads)
#include "test_threads.moc"
