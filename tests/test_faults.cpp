// Tests with fault injection: sends, waits and look-ups fail, and the platform refuses the resources that a
// channel needs to forward data.

#include "fedchannel.h"
#include "receiver.h"
#include "table.h"

#include <climits>
#include <future>
#include <memory>
#include <vector>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace {

/// Returns the words of the frames \a first to \a last.
QByteArray frames(int first, int last)
{
    QByteArrayList words;
    for (int number = first; number <= last; ++number)
        words << frameOf(number);
    return words.join(' ');
}

/// Waits until the received text ends with the lines of \a words. Returns all of it, however it is divided
/// into datagrams.
QByteArray textUpTo(Receiver *receiver, const QByteArray &words)
{
    QByteArray text = receiver->next();
    for (QByteArray next = text; !next.isEmpty() && !text.endsWith(bytesOf(words)); text += next)
        next = receiver->next();
    return text;
}

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void channelWithoutLocksNeverRoutes_data();
    void channelWithoutLocksNeverRoutes();
    void forwardingResumesAfterARefusal_data();
    void forwardingResumesAfterARefusal();
#ifdef Q_OS_UNIX
    void socketAboveFdSetSizeCanBeWaitedFor();
#endif
    void dataThreadDoesNotWaitForALookUp_data();
    void dataThreadDoesNotWaitForALookUp();

private:
    int m_threads = 0;
    int m_descriptors = 0;
};

void TestFaults::init()
{
    m_threads = threadCount();
    m_descriptors = descriptorCount();
    // If the previous test has made a condition unusable, some of its wake-ups were never taken.
    faults::takenWakeUps = faults::wakeUps.load();
}

/// Checks that no thread and no descriptor is left.
void TestFaults::cleanup()
{
    faults::holdLookUps = false;
    QVERIFY(comesTrue([this] { return threadCount() == m_threads; }));
    QCOMPARE(descriptorCount(), m_descriptors);
}

void TestFaults::channelWithoutLocksNeverRoutes_data()
{
    // The column "count" is how often the constructor of a channel makes the call.
    const Table<faults::Call, int> row("call", "count");
    row("memory", faults::Memory, 8);
    row("mutex", faults::MutexCreate, 2);
    row("semaphore", faults::SemaphoreCreate, 2);
    row("lock", faults::LockCreate, 1);
}

void TestFaults::channelWithoutLocksNeverRoutes()
{
    QFETCH(faults::Call, call);
    QFETCH(int, count);
    Receiver receiver;
    for (int spared = 0; spared < count; ++spared) {
        auto refusal = std::make_unique<faults::Refusal>(call, spared);
        FedChannel channel(receiver.port());
        refusal.reset();
        QVERIFY(faults::refusals > 0);
        // No start creates the missing locks.
        for (int start = 0; start < 2; ++start) {
            channel.updateRouterActiveState(true);
            channel.feed(frames(1, 4));
            channel.resetFrame();
        }
        channel.updateRouterActiveState(false);
        QCOMPARE(threadCount(), m_threads);
    }
    QVERIFY(receiver.isEmpty());
}

void TestFaults::forwardingResumesAfterARefusal_data()
{
    // The columns: the refused call; how many such calls succeed first, and how many then fail at most; and
    // whether the channel has a socket, has a worker and forwards frames meanwhile.
    const Table<faults::Call, int, int, bool, bool, bool> row("call", "spared", "times", "socket", "worker",
                                                              "forwards");
    row("no socket", faults::SocketCreate, 0, INT_MAX, false, true, false);
    row("no thread", faults::ThreadCreate, 0, INT_MAX, true, false, false);
    row("no memory for socket and thread", faults::Memory, 0, INT_MAX, false, false, false);
    row("no memory for the thread", faults::Memory, 1, INT_MAX, true, false, false);
    row("no memory for the platform's thread", faults::Memory, 2, INT_MAX, true, false, false);
    row("host unknown", faults::LookUp, 0, INT_MAX, true, true, false);
    row("socket ready after a wait", faults::SocketNotReady, 0, 1, true, true, true);
    row("socket not ready after a wait", faults::SocketNotReady, 0, INT_MAX, true, true, false);
    row("wait for the socket times out", faults::SocketWaitInTime, 0, INT_MAX, true, true, false);
    row("wait for the socket fails", faults::SocketWait, 0, INT_MAX, true, true, false);
    row("send fails", faults::SocketSend, 0, INT_MAX, true, true, false);
    row("wait at the gate fails", faults::SemaphoreWait, 0, INT_MAX, true, true, true);
    row("post at the gate fails", faults::GatePost, 0, INT_MAX, true, true, true);
    row("wait for lines fails", faults::LineWait, 0, INT_MAX, true, true, true);
}

/// Also checks that no frame is lost except those that cannot be sent during the refusal.
void TestFaults::forwardingResumesAfterARefusal()
{
    QFETCH(faults::Call, call);
    QFETCH(int, spared);
    QFETCH(int, times);
    QFETCH(bool, socket);
    QFETCH(bool, worker);
    QFETCH(bool, forwards);
    Receiver receiver;
    const int descriptors = descriptorCount();
    FedChannel channel(receiver.port());
    {
        const faults::Refusal refusal(call, spared, times);
        channel.setHost(QStringLiteral("localhost"));
        channel.updateRouterActiveState(true);
        channel.feed(frames(1, 4));
        if (forwards)
            QCOMPARE(textUpTo(&receiver, frames(4, 4)), bytesOf(frames(1, 4)));
        else if (worker)
            QVERIFY(comesTrue(faults::isAsleep));
        // The worker may send a frame before it makes the first call that is refused.
        QVERIFY(comesTrue([] { return faults::refusals > 0; }));
        QCOMPARE(descriptorCount(), descriptors + (socket ? 1 : 0));
        QCOMPARE(threadCount(), m_threads + (worker ? 1 : 0));
    }
    // Only a channel that lacks its socket, its worker or its address needs another start.
    if (!socket || !worker || channel.ip() == 0)
        channel.updateRouterActiveState(true);
    channel.feed(frames(5, 8));
    QCOMPARE(textUpTo(&receiver, frames(8, 8)), bytesOf(frames(5, 8)));
}

#ifdef Q_OS_UNIX
/// select() cannot wait for a descriptor of FD_SETSIZE or above.
void TestFaults::socketAboveFdSetSizeCanBeWaitedFor()
{
    Receiver receiver;
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<int> taken;
    while (taken.empty() || (taken.back() >= 0 && taken.back() < FD_SETSIZE))
        taken.push_back(dup(0));
    QVERIFY2(taken.back() >= 0, "the limit of descriptors (ulimit -n) is too low for this test");
    FedChannel channel(receiver.port());
    channel.updateRouterActiveState(true);
    {
        const faults::Refusal refusal(faults::SocketNotReady, 0, 1);
        channel.feed(frames(1, 4));
        QCOMPARE(textUpTo(&receiver, frames(4, 4)), bytesOf(frames(1, 4)));
    }
    for (const int descriptor : taken)
        close(descriptor);
}
#endif

void TestFaults::dataThreadDoesNotWaitForALookUp_data()
{
    const Table<bool> row("atStart");
    row("look-up of a start", true);
    row("look-up of an edit", false);
}

void TestFaults::dataThreadDoesNotWaitForALookUp()
{
    QFETCH(bool, atStart);
    RunningChannel channel;
    if (atStart) {
        const faults::Refusal unknownHost(faults::LookUp);
        channel.setHost(QStringLiteral("localhost"));
    }
    const int begun = faults::lookUpsStarted;
    const int ended = faults::lookUpsEnded;
    faults::holdLookUps = true;
    std::future<bool> deliveryEndsFirst = std::async(std::launch::async, [&channel, begun, ended] {
        const bool hasBegun = comesTrue([begun] { return faults::lookUpsStarted > begun; });
        channel.feed(frames(1, 4));
        const bool hasEnded = faults::lookUpsEnded > ended;
        faults::holdLookUps = false;
        return hasBegun && !hasEnded;
    });
    if (atStart)
        channel.updateRouterActiveState(true);
    else
        channel.setHost(QStringLiteral("localhost"));
    QVERIFY(deliveryEndsFirst.get());
}

QTEST_GUILESS_MAIN(TestFaults)
#include "test_faults.moc"
