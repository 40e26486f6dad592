// Fault injection: the platform refuses sends and the resources that a channel needs for forwarding.

#include "fedchannel.h"
#include "receiver.h"
#include "udp.h"

#include <QtTest>

#include <future>
#include <memory>
#include <vector>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#include <unistd.h>
#endif

#ifdef __SANITIZE_THREAD__
// After a failed wait, a worker unlocks its mutex until that is refused, because it cannot know whether it
// holds it.
extern "C" __attribute__((visibility("default"))) const char *__tsan_default_options()
{
    return "report_mutex_bugs=0";
}
#endif

namespace {

QByteArray frames(int first, int last)
{
    QByteArrayList words;
    for (int number = first; number <= last; ++number)
        words << "fr" + QByteArray::number(number) << "6d" + QByteArray::number(number);
    return words.join(' ');
}

/// Returns all received text up to \a words, however it is divided into datagrams.
QByteArray textUpTo(Receiver *receiver, const QByteArray &words)
{
    QByteArray text;
    receiver->readsUntil([&] { return text.endsWith(bytesOf(words)); },
                         [&](const QByteArray &datagram) { text += datagram; });
    return text;
}

} // namespace

Q_DECLARE_METATYPE(faults::Call)

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void failedSendIsReportedAndTheSocketStaysUsable_data();
    void failedSendIsReportedAndTheSocketStaysUsable();
    void channelWithoutLocksNeverRoutes_data();
    void channelWithoutLocksNeverRoutes();
    void forwardingResumesAfterARefusal_data();
    void forwardingResumesAfterARefusal();
#ifdef Q_OS_UNIX
    void socketAboveFdSetSizeCanBeWaitedFor();
#endif
    void unknownHostIsLookedUpAgainAtAStart();
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
    faults::takenWakeUps = faults::wakeUps.load(); // wake-ups of an unusable condition are not taken
}

// No refusal leaves a thread or a descriptor behind.
void TestFaults::cleanup()
{
    faults::holdLookUps = false;
    QVERIFY(comesTrue([this] { return threadCount() == m_threads; }));
    QCOMPARE(descriptorCount(), m_descriptors);
}

void TestFaults::failedSendIsReportedAndTheSocketStaysUsable_data()
{
    QTest::addColumn<faults::Call>("call");
    QTest::addColumn<int>("times");
    QTest::addColumn<int>("waits");
    QTest::addColumn<int>("result");

    QTest::newRow("ready at once") << faults::NoCall << 0 << 0 << 0;
    QTest::newRow("ready after a wait") << faults::SocketNotReady << 1 << 1 << 0;
    QTest::newRow("still not ready after the wait") << faults::SocketNotReady << 2 << 1 << -1;
    QTest::newRow("the wait times out") << faults::SocketWaitInTime << 1 << 1 << -1;
    QTest::newRow("the wait fails") << faults::SocketWait << 1 << 1 << -2;
    QTest::newRow("the send fails") << faults::SocketSend << 1 << 0 << -2;
    QTest::newRow("only a part is sent") << faults::SocketSendShort << 1 << 0 << -2;
}

void TestFaults::failedSendIsReportedAndTheSocketStaysUsable()
{
    QFETCH(faults::Call, call);
    QFETCH(int, times);
    QFETCH(int, result);
    Receiver receiver;
    SocketHandle *handle = nullptr;
    QCOMPARE(udpOpen(&handle, 0, UdpAnyPort), 0);
    const auto send = [&](const char *text) {
        return udpSend(handle, text, 4, FedChannel::Loopback, receiver.port(), 100000);
    };
    {
        const faults::Refusal refusal(call, 0, times);
        const int waits = faults::writableWaits;
        QCOMPARE(send("once"), result);
        QTEST(faults::writableWaits - waits, "waits");
        QCOMPARE(faults::refusals.load(), times);
    }
    QCOMPARE(send("next"), 0);
    if (result == 0)
        QCOMPARE(receiver.next(), QByteArray("once"));
    QCOMPARE(receiver.next(), QByteArray("next"));
    QCOMPARE(udpClose(handle), 0);
}

void TestFaults::channelWithoutLocksNeverRoutes_data()
{
    QTest::addColumn<faults::Call>("call");
    QTest::addColumn<int>("allocations"); // of a complete channel

    QTest::newRow("memory") << faults::Memory << 10;
    QTest::newRow("mutex") << faults::MutexCreate << 3;
    QTest::newRow("semaphore") << faults::SemaphoreCreate << 2;
    QTest::newRow("lock") << faults::LockCreate << 1;
}

void TestFaults::channelWithoutLocksNeverRoutes()
{
    QFETCH(faults::Call, call);
    QFETCH(int, allocations);
    Receiver receiver;
    for (int spared = 0; spared < allocations; ++spared) {
        auto refusal = std::make_unique<faults::Refusal>(call, spared);
        FedChannel channel(receiver.port());
        refusal.reset();
        QVERIFY(faults::refusals > 0);
        // A later start does not repair it.
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
    QTest::addColumn<faults::Call>("call");
    QTest::addColumn<int>("spared");
    QTest::addColumn<bool>("socket"); // exists after the start
    QTest::addColumn<bool>("worker");
    QTest::addColumn<bool>("forwards");
    const auto row = [](const char *name, faults::Call call, int spared, bool socket, bool worker,
                        bool forwards = false) {
        QTest::newRow(name) << call << spared << socket << worker << forwards;
    };

    row("no socket", faults::SocketCreate, 0, false, true);
    row("no thread", faults::ThreadCreate, 0, true, false);
    row("no memory for socket and thread", faults::Memory, 0, false, false);
    row("no memory for the thread", faults::Memory, 1, true, false);
    row("no memory for the platform's thread", faults::Memory, 2, true, false);
    row("send times out", faults::SocketWaitInTime, 0, true, true);
    row("send fails", faults::SocketSend, 0, true, true);
    row("tryLock of the run mutex fails", faults::MutexTryLock, 0, true, true, true);
    row("wait at the gate fails", faults::SemaphoreWait, 0, true, true, true);
    row("post at the gate fails", faults::GatePost, 0, true, true, true);
    row("wait for lines fails", faults::LineWait, 0, true, true, true);
}

// Only frames that cannot be sent during the refusal are lost.
void TestFaults::forwardingResumesAfterARefusal()
{
    QFETCH(faults::Call, call);
    QFETCH(int, spared);
    QFETCH(bool, socket);
    QFETCH(bool, worker);
    QFETCH(bool, forwards);
    Receiver receiver;
    const int descriptors = descriptorCount();
    FedChannel channel(receiver.port());
    {
        const faults::Refusal refusal(call, spared);
        channel.updateRouterActiveState(true);
        channel.feed(frames(1, 4));
        if (forwards)
            QCOMPARE(textUpTo(&receiver, frames(4, 4)), bytesOf(frames(1, 4)));
        else if (worker)
            QVERIFY(comesTrue(faults::isAsleep));
        QVERIFY(faults::refusals > 0);
        QCOMPARE(descriptorCount(), descriptors + (socket ? 1 : 0));
        QCOMPARE(threadCount(), m_threads + (worker ? 1 : 0));
    }
    // Only a channel that lacks a socket or a worker needs another start.
    if (!socket || !worker)
        channel.updateRouterActiveState(true);
    channel.feed(frames(5, 8));
    QCOMPARE(textUpTo(&receiver, frames(8, 8)), bytesOf(frames(5, 8)));
}

#ifdef Q_OS_UNIX
// select() could not wait for such a socket.
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
    QVERIFY2(taken.back() >= 0, "too few descriptors are allowed here");
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

void TestFaults::unknownHostIsLookedUpAgainAtAStart()
{
    Receiver receiver;
    FedChannel channel(receiver.port());
    {
        const faults::Refusal refusal(faults::LookUp);
        channel.setHost(QStringLiteral("localhost"));
        channel.updateRouterActiveState(true);
        channel.feed(frames(1, 4));
        QCOMPARE(faults::refusals.load(), 2); // the start repeats the look-up
    }
    channel.updateRouterActiveState(true);
    channel.feed(frames(5, 8));
    QCOMPARE(textUpTo(&receiver, frames(8, 8)), bytesOf(frames(5, 8)));
}

void TestFaults::dataThreadDoesNotWaitForALookUp_data()
{
    QTest::addColumn<bool>("atStart");

    QTest::newRow("look-up of a start") << true;
    QTest::newRow("look-up of an edit") << false;
}

void TestFaults::dataThreadDoesNotWaitForALookUp()
{
    QFETCH(bool, atStart);
    Receiver receiver;
    FedChannel channel(receiver.port());
    channel.updateRouterActiveState(true);
    if (atStart) {
        const faults::Refusal unknown(faults::LookUp);
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
