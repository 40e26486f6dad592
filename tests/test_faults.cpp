// What the platform refuses, from the records of the two lowest layers up to a channel that forwards.

#include "channelasrouter.h"
#include "condition.h"
#include "outputtypeinfo.h"
#include "seamfaults.h"
#include "threads.h"
#include "udp.h"

#include <QUdpSocket>
#include <QtTest>

#include <fcntl.h>
#include <filesystem>
#include <future>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#ifdef __SANITIZE_THREAD__
// A worker whose wait has failed gives its mutex back until it is refused, to learn whether it holds it.
extern "C" __attribute__((visibility("default"))) const char *__tsan_default_options()
{
    return "report_mutex_bugs=0";
}
#endif

namespace {

constexpr int limitMilliseconds = 20000;
constexpr quint32 loopback = 0x7f000001;
constexpr int halfMade = -100; // instead of the result, where a failure has left something to the caller

template <typename Predicate>
bool comesTrue(Predicate holds)
{
    return QTest::qWaitFor(holds, limitMilliseconds);
}

int threadCount()
{
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<int>(std::distance(begin(tasks), end(tasks)));
}

/// Makes a record by \a make and gives it back.
template <typename Record, typename Make, typename Destroy>
int makeAndGiveBack(Make make, Destroy destroy)
{
    Record *record = nullptr;
    const int result = make(&record);
    if (result == 0)
        return destroy(record);
    return record ? halfMade : result;
}

int makeMutex()
{
    return makeAndGiveBack<Mutex>(mutexCreate, mutexDestroy);
}

int makeCondition()
{
    return makeAndGiveBack<Condition>(condCreate, condDestroy);
}

int openSocket()
{
    return makeAndGiveBack<SocketHandle>(
        [](SocketHandle **handle) { return udpOpen(handle, 0, UdpAnyPort | UdpBroadcast); }, udpClose);
}

int runThread()
{
    static std::atomic<int> runs{0}; // the argument tells these threads from all others
    const int before = runs;
    const auto entry = [](void *counter) -> uint32_t { return ++*static_cast<std::atomic<int> *>(counter); };
    const int result = threadStart(entry, &runs);
    threadAwait(&runs);
    return runs == before + (result == 0 ? 1 : 0) ? result : halfMade;
}

/// A wait that nobody ends.
int waitOnce()
{
    Mutex *mutex = nullptr;
    Condition *condition = nullptr;
    mutexCreate(&mutex);
    condCreate(&condition);
    mutexLock(mutex);
    const int result = condTimedWait(condition, mutex, 0);
    mutexUnlock(mutex);
    condDestroy(condition);
    mutexDestroy(mutex);
    return result;
}

/// A wake-up that finds one waiter at the gate.
int wakeOne()
{
    Condition *condition = nullptr;
    condCreate(&condition);
    condition->waitersBlocked = 1;
    const int result = condSignal(condition);
    condDestroy(condition);
    return result;
}

/// One handle sends twice, the second time with a willing platform; the result of the first.
int sendTwice()
{
    SocketHandle *handle = nullptr;
    udpOpen(&handle, 0, UdpAnyPort);
    const int result = udpSend(handle, "datagram", 8, loopback, 9, 100000);
    const seam::Call refused = seam::refused.exchange(seam::NoCall);
    const int again = udpSend(handle, "datagram", 8, loopback, 9, 100000);
    seam::refused = refused;
    udpClose(handle);
    return again == 0 ? result : halfMade;
}

int resolveName()
{
    return static_cast<int>(resolveHost("localhost"));
}

/// Takes descriptors until the last one is \a last, or until there are no more.
class Descriptors
{
public:
    explicit Descriptors(int last)
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit limit = {qMin<rlim_t>(1500, m_before.rlim_max), m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
        for (int taken = fcntl(0, F_DUPFD, 0); taken >= 0; taken = fcntl(0, F_DUPFD, 0)) {
            m_taken.push_back(taken);
            if (taken >= last)
                break;
        }
    }
    ~Descriptors()
    {
        for (const int taken : m_taken)
            close(taken);
        setrlimit(RLIMIT_NOFILE, &m_before);
    }
    Descriptors(const Descriptors &) = delete;
    Descriptors &operator=(const Descriptors &) = delete;

    int highest() const { return m_taken.back(); }

private:
    rlimit m_before = {};
    std::vector<int> m_taken;
};

QByteArray frame(int number)
{
    return "fr " + QByteArray::number(number) + "\r\n6d " + QByteArray::number(number) + "\r\n";
}

class Receiver
{
public:
    Receiver() { m_socket.bind(QHostAddress(QHostAddress::LocalHost)); }
    int port() const { return m_socket.localPort(); }

    /// All that has come so far.
    const QByteArray &text()
    {
        while (m_socket.hasPendingDatagrams()) {
            QByteArray datagram(static_cast<int>(m_socket.pendingDatagramSize()), '\0');
            m_socket.readDatagram(datagram.data(), datagram.size());
            m_text += datagram;
        }
        return m_text;
    }

private:
    QUdpSocket m_socket;
    QByteArray m_text;
};

/// An active channel to \a receiver that ticks fr and 6d. Nothing here talks to a host.
class FaultyChannel : public ChannelAsRouter
{
public:
    explicit FaultyChannel(const Receiver &receiver)
        : ChannelAsRouter(nullptr, 0, nullptr)
    {
        setOutputTypes({{"fr", "", true}, {"6d", "", true}});
        for (int row = 0; row < typeModel()->rowCount(); ++row)
            typeModel()->item(row)->setCheckState(Qt::Checked);
        setIp(loopback);
        setPort(receiver.port());
        setActive(true);
    }

    /// Four frames; the first two may leave as one datagram.
    void feed(int firstNumber)
    {
        for (int number = firstNumber; number < firstNumber + 4; ++number) {
            enqueue("fr", "fr " + QByteArray::number(number) + "\r\n");
            enqueue("6d", "6d " + QByteArray::number(number) + "\r\n");
        }
    }

    /// Whether the worker has handled all that was queued before. One wait may have begun before that.
    static bool settles()
    {
        const int before = seam::lineWaits;
        return comesTrue([before] { return seam::lineWaits >= before + 2; });
    }
};

using Operation = int (*)();

} // namespace

Q_DECLARE_METATYPE(Operation)
Q_DECLARE_METATYPE(seam::Call)

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void layers_data();
    void layers();
    void dottedAddressNeedsNoNetwork();
    void channelWithoutLocks_data();
    void channelWithoutLocks();
    void forwarding_data();
    void forwarding();
    void descriptors_data();
    void descriptors();
    void unknownHost();
    void heldLookUp_data();
    void heldLookUp();

private:
    int m_threads = 0;
};

void TestFaults::init()
{
    QCOMPARE(seam::records.load(), 0);
    m_threads = threadCount();
}

// Whatever was refused, nothing is left behind.
void TestFaults::cleanup()
{
    seam::holdLookUps = false;
    QVERIFY(comesTrue([this] { return threadCount() == m_threads; }));
    QCOMPARE(seam::records.load(), 0);
    QCOMPARE(seam::sockets.load(), 0);
    QCOMPARE(seam::stuckWaits.exchange(0), 0);
}

void TestFaults::layers_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<seam::Call>("call");
    QTest::addColumn<int>("spared");
    QTest::addColumn<int>("refused");
    QTest::addColumn<int>("granted");
    const auto row = [](const char *name, Operation operation, seam::Call call, int spared, int refused,
                        int granted = 0) {
        QTest::newRow(name) << operation << call << spared << refused << granted;
    };

    row("mutex: no record", makeMutex, seam::Memory, 0, -11);
    row("mutex: no record of the platform", makeMutex, seam::Memory, 1, -1);
    row("mutex: refused", makeMutex, seam::MutexCreate, 0, -1);
    row("mutex: not closed", makeMutex, seam::MutexClose, 0, -1);
    row("condition: no record", makeCondition, seam::Memory, 0, -11);
    row("condition: no record of the lock", makeCondition, seam::Memory, 1, -11);
    row("condition: no record of the gate", makeCondition, seam::Memory, 3, -11);
    row("condition: no lock", makeCondition, seam::LockCreate, 0, -11);
    row("condition: no queue", makeCondition, seam::SemaphoreCreate, 0, -11);
    row("condition: no gate", makeCondition, seam::SemaphoreCreate, 1, -11);
    row("condition: queue not closed", makeCondition, seam::SemaphoreClose, 0, -1);
    row("condition: gate not closed", makeCondition, seam::SemaphoreClose, 1, -1);
    row("wait: gate not passed", waitOnce, seam::SemaphoreWait, 0, -1, 1);
    row("wait: gate not opened", waitOnce, seam::SemaphorePost, 0, -1, 1);
    row("wait: no sleep", waitOnce, seam::SemaphoreWait, 1, -1, 1);
    row("wake-up: gate not closed", wakeOne, seam::SemaphoreWait, 0, -1);
    row("wake-up: queue not posted", wakeOne, seam::SemaphorePost, 0, -1);
    row("thread: no record", runThread, seam::Memory, 0, -1);
    row("thread: no record of the platform", runThread, seam::Memory, 1, -1);
    row("thread: refused", runThread, seam::ThreadCreate, 0, -1);
    row("socket: no network", openSocket, seam::NetworkStart, 0, -2);
    row("socket: refused", openSocket, seam::SocketCreate, 0, -2);
    row("socket: no record", openSocket, seam::Memory, 0, -2);
    row("socket: no broadcast", openSocket, seam::SocketBroadcast, 0, -2);
    row("socket: not bound", openSocket, seam::SocketBind, 0, -2);
    row("socket: not closed", openSocket, seam::SocketClose, 0, -2);
    row("send: not ready in time", sendTwice, seam::SocketReadyLate, 0, -1);
    row("send: no wait", sendTwice, seam::SocketReady, 0, -2);
    row("send: refused", sendTwice, seam::SocketSend, 0, -2);
    row("send: short", sendTwice, seam::SocketSendShort, 0, -2);
    row("name: no network", resolveName, seam::NetworkStart, 0, 0, loopback);
    row("name: not found", resolveName, seam::LookUp, 0, 0, loopback);
}

void TestFaults::layers()
{
    QFETCH(Operation, operation);
    QFETCH(seam::Call, call);
    QFETCH(int, spared);
    {
        const seam::Refusal refusal(call, spared);
        QTEST(operation(), "refused");
        QVERIFY(refusal.wasMet());
        QCOMPARE(seam::records.load(), 0);
    }
    QTEST(operation(), "granted");
}

void TestFaults::dottedAddressNeedsNoNetwork()
{
    const seam::Refusal refusal(seam::NetworkStart);
    QCOMPARE(resolveHost("127.0.0.1"), loopback);
    QVERIFY(!refusal.wasMet());
}

void TestFaults::channelWithoutLocks_data()
{
    QTest::addColumn<seam::Call>("call");
    QTest::addColumn<int>("makes"); // by a channel that gets them all

    QTest::newRow("memory") << seam::Memory << 10;
    QTest::newRow("mutex") << seam::MutexCreate << 3;
    QTest::newRow("semaphore") << seam::SemaphoreCreate << 2;
    QTest::newRow("lock") << seam::LockCreate << 1;
}

void TestFaults::channelWithoutLocks()
{
    QFETCH(seam::Call, call);
    QFETCH(int, makes);
    Receiver receiver;
    for (int spared = 0; spared <= makes; ++spared) {
        auto refusal = std::make_unique<seam::Refusal>(call, spared);
        FaultyChannel channel(receiver);
        const bool met = seam::Refusal::wasMet();
        refusal.reset();
        QCOMPARE(met, spared < makes);
        if (!met)
            break;
        // No later start mends it.
        for (int start = 0; start < 2; ++start) {
            channel.updateRouterActiveState(true);
            channel.feed(1);
            channel.resetFrame();
        }
        channel.updateRouterActiveState(false);
        QCOMPARE(seam::sockets.load(), 0);
        QCOMPARE(threadCount(), m_threads);
    }
    QVERIFY(receiver.text().isEmpty());
}

void TestFaults::forwarding_data()
{
    QTest::addColumn<seam::Call>("call");
    QTest::addColumn<int>("spared");
    QTest::addColumn<bool>("socket"); // what the start leaves
    QTest::addColumn<bool>("worker");
    QTest::addColumn<bool>("forwards");
    const auto row = [](const char *name, seam::Call call, int spared, bool socket, bool worker,
                        bool forwards = false) {
        QTest::newRow(name) << call << spared << socket << worker << forwards;
    };

    row("no network", seam::NetworkStart, 0, false, true);
    row("no socket", seam::SocketCreate, 0, false, true);
    row("not bound", seam::SocketBind, 0, false, true);
    row("no thread", seam::ThreadCreate, 0, true, false);
    row("no memory for socket and thread", seam::Memory, 0, false, false);
    row("no memory for the thread", seam::Memory, 1, true, false);
    row("no memory for the platform's thread", seam::Memory, 2, true, false);
    row("not ready in time", seam::SocketReadyLate, 0, true, true);
    row("no wait for ready", seam::SocketReady, 0, true, true);
    row("send refused", seam::SocketSend, 0, true, true);
    row("send short", seam::SocketSendShort, 0, true, true);
    row("no wait at the gate", seam::SemaphoreWait, 0, true, true, true);
    row("no wait for lines", seam::SemaphoreSleep, 0, true, true, true);
}

// What cannot be sent while the platform refuses is lost, and only that.
void TestFaults::forwarding()
{
    QFETCH(seam::Call, call);
    QFETCH(int, spared);
    QFETCH(bool, socket);
    QFETCH(bool, worker);
    QFETCH(bool, forwards);
    Receiver receiver;
    FaultyChannel channel(receiver);
    {
        const seam::Refusal refusal(call, spared);
        channel.updateRouterActiveState(true);
        channel.feed(1);
        if (forwards)
            QVERIFY(comesTrue([&] { return receiver.text().endsWith(frame(4)); }));
        else if (worker)
            QVERIFY(channel.settles());
        QVERIFY(refusal.wasMet());
        QCOMPARE(seam::sockets.load(), socket ? 1 : 0);
        QCOMPARE(threadCount(), m_threads + (worker ? 1 : 0));
    }
    // A channel that has all it needs goes on by itself.
    if (!socket || !worker)
        channel.updateRouterActiveState(true);
    channel.feed(5);
    const QByteArray later = frame(5) + frame(6) + frame(7) + frame(8);
    QVERIFY(comesTrue([&] { return receiver.text().endsWith(frame(8)); }));
    QCOMPARE(receiver.text(), forwards ? frame(1) + frame(2) + frame(3) + frame(4) + later : later);
}

void TestFaults::descriptors_data()
{
    QTest::addColumn<int>("last");
    QTest::addColumn<bool>("forwards");

    QTest::newRow("beyond an fd_set") << FD_SETSIZE << true;
    QTest::newRow("none left") << std::numeric_limits<int>::max() << false;
}

void TestFaults::descriptors()
{
    QFETCH(int, last);
    QFETCH(bool, forwards);
    Receiver receiver;
    FaultyChannel channel(receiver);
    {
        const Descriptors taken(last);
        QVERIFY2(taken.highest() >= FD_SETSIZE, "too few descriptors are allowed here");
        channel.updateRouterActiveState(true);
        channel.feed(1);
        QVERIFY(channel.settles());
    }
    QCOMPARE(receiver.text().endsWith(frame(4)), forwards);
    channel.updateRouterActiveState(true);
    channel.feed(5);
    QVERIFY(comesTrue([&] { return receiver.text().endsWith(frame(8)); }));
}

void TestFaults::unknownHost()
{
    Receiver receiver;
    FaultyChannel channel(receiver);
    {
        const seam::Refusal refusal(seam::LookUp);
        channel.setHost(QStringLiteral("localhost"));
        channel.updateRouterActiveState(true);
        channel.feed(1);
        QVERIFY(channel.settles());
        QCOMPARE(seam::refusals.load(), 2); // the start asks again
    }
    channel.updateRouterActiveState(true);
    channel.feed(5);
    QVERIFY(comesTrue([&] { return receiver.text().endsWith(frame(8)); }));
    QCOMPARE(receiver.text(), frame(5) + frame(6) + frame(7) + frame(8));
}

void TestFaults::heldLookUp_data()
{
    QTest::addColumn<bool>("atStart");

    QTest::newRow("of a start") << true;
    QTest::newRow("of an edit") << false;
}

// Whoever delivers is through before the look-up is.
void TestFaults::heldLookUp()
{
    QFETCH(bool, atStart);
    Receiver receiver;
    FaultyChannel channel(receiver);
    channel.updateRouterActiveState(true);
    if (atStart) {
        const seam::Refusal unknown(seam::LookUp);
        channel.setHost(QStringLiteral("localhost"));
    }
    const int begun = seam::lookUpsBegun;
    const int ended = seam::lookUpsEnded;
    seam::holdLookUps = true;
    std::future<bool> data = std::async(std::launch::async, [&channel, begun, ended] {
        const QDeadlineTimer limit(limitMilliseconds);
        while (seam::lookUpsBegun == begun && !limit.hasExpired())
            nativeSleep(1);
        channel.feed(1);
        const bool waited = seam::lookUpsEnded != ended;
        seam::holdLookUps = false;
        return waited || limit.hasExpired();
    });
    if (atStart)
        channel.updateRouterActiveState(true);
    else
        channel.setHost(QStringLiteral("localhost"));
    QVERIFY(!data.get());
    channel.feed(5);
    QVERIFY(channel.settles());
    channel.feed(9);
    QVERIFY(comesTrue([&] { return receiver.text().endsWith(frame(12)); }));
}

QTEST_GUILESS_MAIN(TestFaults)
#include "test_faults.moc"
