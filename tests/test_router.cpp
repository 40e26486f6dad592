// Forwarding with real workers and real sockets: channels send to receivers on loopback. Frames are written
// as words: "fr100" stands for the line "fr 100" of the type fr, "6d7" for the line "6d 7" of the type 6d.

#include "channelasrouter.h"
#include "channelfanout.h"
#include "native.h"
#include "outputtypeinfo.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QUdpSocket>
#include <QtTest>

#include <filesystem>
#include <functional>
#include <future>

// The linker puts these in front of the platform's functions (--wrap), so that a test can see a worker wait,
// hold up a send, and refuse a thread.

namespace platform {

std::atomic<int> lineWaits{0}; // begun waits with a limit: nobody but a worker without lines makes them
std::atomic<int> sendsBegun{0};
std::atomic<bool> holdSends{false};
std::atomic<bool> refuseThreads{false};

} // namespace platform

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's.
extern "C" {

NativeThread *__real_nativeThreadCreate(uint32_t (*)(void *), void *, uint32_t);
NativeThread *__wrap_nativeThreadCreate(uint32_t (*entry)(void *), void *argument, uint32_t stackBytes)
{
    return platform::refuseThreads ? nullptr : __real_nativeThreadCreate(entry, argument, stackBytes);
}

int __real_nativeSemaphoreWait(NativeSemaphore *, uint32_t);
int __wrap_nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    if (milliseconds != nativeForever)
        ++platform::lineWaits;
    return __real_nativeSemaphoreWait(semaphore, milliseconds);
}

int32_t __real_nativeSocketSend(NativeSocket, const void *, int32_t, uint32_t, uint16_t);
int32_t __wrap_nativeSocketSend(NativeSocket socket, const void *data, int32_t length, uint32_t address,
                                uint16_t port)
{
    ++platform::sendsBegun;
    while (platform::holdSends)
        nativeSleep(1);
    return __real_nativeSocketSend(socket, data, length, address, port);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr int limitMilliseconds = 30000;
constexpr quint32 loopback = 0x7f000001;

bool comesTrue(const std::function<bool()> &wanted)
{
    const QDeadlineTimer limit(limitMilliseconds);
    while (!wanted()) {
        if (limit.hasExpired())
            return false;
        nativeSleep(1);
    }
    return true;
}

int entryCount(const char *folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

int threadCount()
{
    return entryCount("/proc/self/task");
}

int descriptorCount()
{
    return entryCount("/proc/self/fd");
}

QByteArray lineOf(const QByteArray &word)
{
    return word.left(2) + ' ' + word.mid(2) + "\r\n";
}

void feed(ChannelAsRouter &channel, const QByteArray &words)
{
    for (const QByteArray &word : words.split(' '))
        channel.enqueue(word.left(2), lineOf(word));
}

void deliver(ChannelFanOut &fanOut, const QByteArray &words)
{
    for (const QByteArray &word : words.split(' '))
        fanOut.deliver(word.left(2), lineOf(word));
}

QByteArray bytesOf(const QByteArray &words)
{
    QByteArray bytes;
    for (const QByteArray &word : words.split(' '))
        bytes += lineOf(word);
    return bytes;
}

/// Stalls every send for as long as it lives or until released.
class HeldSends
{
public:
    HeldSends() { platform::holdSends = true; }
    ~HeldSends() { release(); }
    void release() { platform::holdSends = false; }
    bool hold() const
    {
        return comesTrue([this] { return platform::sendsBegun > m_before; });
    }

private:
    const int m_before = platform::sendsBegun;
};

class Receiver
{
public:
    Receiver() { m_socket.bind(QHostAddress(QHostAddress::LocalHost)); }

    quint16 port() const { return m_socket.localPort(); }

    /// The next datagram; empty if none comes.
    QByteArray next()
    {
        if (!comesTrue([this] { return m_socket.hasPendingDatagrams(); }))
            return {};
        QByteArray bytes(static_cast<int>(m_socket.pendingDatagramSize()), '\0');
        m_socket.readDatagram(bytes.data(), bytes.size());
        return bytes;
    }

    bool isEmpty() { return !m_socket.hasPendingDatagrams(); }

    void clear()
    {
        while (m_socket.hasPendingDatagrams())
            m_socket.readDatagram(nullptr, 0);
    }

private:
    QUdpSocket m_socket;
};

/// An active channel to \a receiver that ticks fr, 6d and 3d. No command is sent by what is tested here, so
/// there is no host.
class RouterChannel : public ChannelAsRouter
{
public:
    explicit RouterChannel(const Receiver &receiver)
        : ChannelAsRouter(nullptr, 0, nullptr)
    {
        setOutputTypes({{"fr", "", true}, {"6d", "", true}, {"3d", "", true}, {"gl", "", true}});
        tick(true);
        setIp(loopback);
        setPort(receiver.port());
        setActive(true);
    }

    void tick(bool on)
    {
        for (const char *type : {"fr", "6d", "3d"}) {
            for (QStandardItem *item : typeModel()->findItems(type))
                item->setCheckState(on ? Qt::Checked : Qt::Unchecked);
        }
    }

    /// Whether the worker has handled all that was queued before the call. One wait may have begun before
    /// that.
    static bool settles()
    {
        const int before = platform::lineWaits;
        return comesTrue([before] { return platform::lineWaits >= before + 2; });
    }
};

} // namespace

class TestRouter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void stories_data();
    void stories();
    void bytesAndDivisor();
    void inactiveStartTakesItsTime();
    void stalledSend();
    void destinationChanges();
    void destruction_data();
    void destruction();
    void refusedThreadLeavesWorkerAlone();
    void publishWaitsForWalkers();

private:
    void take(const QByteArray &step, RouterChannel &channel);

    int m_threads = 0;
    int m_descriptors = 0;
};

void TestRouter::init()
{
    m_threads = threadCount();
    m_descriptors = descriptorCount();
}

// Whatever a test did with its channels, nothing of them is left.
void TestRouter::cleanup()
{
    platform::refuseThreads = false;
    QVERIFY(comesTrue([this] { return threadCount() == m_threads; }));
    QCOMPARE(descriptorCount(), m_descriptors);
}

/// A step of a story; what is no known word is a line to queue. "off gone on" leaves the router switched on
/// without a worker, so that lines queue up.
void TestRouter::take(const QByteArray &step, RouterChannel &channel)
{
    if (step == "start" || step == "stop")
        channel.updateRouterActiveState(step == "start");
    else if (step == "on" || step == "off")
        channel.setActive(step == "on");
    else if (step == "tick" || step == "untick")
        channel.tick(step == "tick");
    else if (step == "here" || step == "nowhere")
        channel.setIp(step == "here" ? loopback : 0);
    else if (step == "reset")
        channel.resetFrame();
    else if (step == "handled")
        QVERIFY(RouterChannel::settles());
    else if (step == "gone")
        QVERIFY(comesTrue([this] { return threadCount() == m_threads; }));
    else if (step == "many")
        for (std::size_t lines = 0; lines < LineQueue::MaximumLines - 8; lines += 2)
            feed(channel, "fr0 6d0");
    else
        feed(channel, step);
}

void TestRouter::stories_data()
{
    QTest::addColumn<QByteArray>("steps");
    QTest::addColumn<QByteArray>("datagrams");
    const auto row = [](const char *name, const QByteArray &steps, const QByteArray &datagrams) {
        QTest::newRow(name) << steps << datagrams;
    };
    const QByteArray first = "fr1 6d1 fr2 6d2";

    row("not started", "fr90 6d90 start " + first, first);
    row("stopped", "start stop fr90 6d90 start " + first, first);
    row("channel off", "start off fr90 6d90 on start " + first, first);
    row("a start while off is a stop", "start off start on fr90 6d90 start " + first, first);
    row("no address", "start nowhere fr90 6d90 here " + first, first);
    row("nothing ticked", "start untick fr90 6d90 tick " + first, first);
    row("some ticked", "start fr1 gl1 6d1 xx1 fr2 gl2 6d2", first);
    row("lengths are unknown after a restart", "start " + first + " handled stop gone start fr3 6d3 fr4 6d4",
        first + "|fr3 6d3 fr4 6d4");
    row("second start", "start " + first + " fr3 handled start 6d3 fr4 6d4", first + "|fr4 6d4");
    row("reset in mid-frame", "start " + first + " fr3 handled reset 6d3 fr4 6d4", first + "|fr4 6d4");
    row("queued lines outlive a stop",
        "start off gone on " + first + " fr3 6d3 fr4 stop fr90 start 6d4 fr5 6d5",
        first + "|fr3 6d3|fr4 6d4|fr5 6d5");
    row("queued without an address",
        "start off gone on " + first + " fr3 6d3 fr4 nowhere start handled here 6d4", "fr4 6d4");
    // The line of fr15 is one too many and drives out that of fr11.
    row("overflow tears no frame",
        "start " + first +
            " fr3 handled off gone on fr11 6d11 fr12 6d12 fr13 6d13 many fr14 6d14 fr15 start 6d15",
        first + "|fr12 6d12 fr13 6d13|fr14 6d14|fr15 6d15");
}

void TestRouter::stories()
{
    QFETCH(const QByteArray, steps);
    QFETCH(const QByteArray, datagrams);

    Receiver receiver;
    const int descriptors = descriptorCount();
    RouterChannel channel(receiver);
    for (const QByteArray &step : steps.split(' '))
        take(step, channel);
    for (const QByteArray &words : datagrams.split('|'))
        QCOMPARE(receiver.next(), bytesOf(words));
    QVERIFY(RouterChannel::settles());
    QVERIFY(receiver.isEmpty());
    QVERIFY(comesTrue([this] { return threadCount() == m_threads + 1; }));
    QCOMPARE(descriptorCount(), descriptors + 1);
}

void TestRouter::bytesAndDivisor()
{
    Receiver receiver;
    RouterChannel channel(receiver);
    channel.updateRouterActiveState(true);
    const auto feedFrame = [&channel](int number) {
        channel.enqueue("fr", "fr " + QByteArray::number(number) + "\r\n");
        channel.enqueue("6d", "6d 1 [0 1.000]\t[-12.5 0 7]\n");
        channel.enqueue("3d", "3d 0 \xe4\n\r\r\n");
    };
    const auto sentFrame = [](int number) {
        return "fr " + QByteArray::number(number) + "\r\n6d 1 [0 1.000]\t[-12.5 0 7]\r\n3d 0 \xe4\r\n";
    };

    feedFrame(1);
    feedFrame(2);
    QCOMPARE(receiver.next(), sentFrame(1) + sentFrame(2));
    for (int number = 3; number <= 100; ++number) {
        feedFrame(number);
        QCOMPARE(receiver.next(), sentFrame(number));
    }
    channel.setDataDivisor(7);
    for (int number = 101; number <= 128; ++number)
        feedFrame(number);
    for (const int number : {105, 112, 119, 126})
        QCOMPARE(receiver.next(), sentFrame(number));
    QVERIFY(RouterChannel::settles());
    QVERIFY(receiver.isEmpty());
}

void TestRouter::inactiveStartTakesItsTime()
{
    Receiver receiver;
    RouterChannel channel(receiver);
    channel.updateRouterActiveState(true);
    channel.setActive(false);

    QElapsedTimer timer;
    timer.start();
    channel.updateRouterActiveState(true);
    QVERIFY(timer.elapsed() >= 10);
    QVERIFY(comesTrue([this] { return threadCount() == m_threads; }));
}

void TestRouter::stalledSend()
{
    Receiver receiver;
    RouterChannel channel(receiver);
    channel.updateRouterActiveState(true);
    HeldSends sends;
    feed(channel, "fr1 6d1 fr2 6d2");
    QVERIFY(sends.hold());

    // Whoever delivers goes on, whoever resets the frame waits.
    std::future<void> reset = std::async(std::launch::async, [&channel] { channel.resetFrame(); });
    std::future<void> delivery = std::async(std::launch::async, [&channel] { feed(channel, "fr3 6d3"); });
    const bool delivered = delivery.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    const bool waits = reset.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
    sends.release();
    QVERIFY(delivered);
    QVERIFY(waits);
    QCOMPARE(receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
    reset.get();
}

void TestRouter::destinationChanges()
{
    Receiver receiver, other;
    RouterChannel channel(receiver);
    channel.updateRouterActiveState(true);
    feed(channel, "fr1 6d1 fr2 6d2 fr3");
    QCOMPARE(receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
    channel.setPort(other.port());
    feed(channel, "6d3 fr4 6d4");
    QCOMPARE(other.next(), bytesOf("fr3 6d3"));
    QCOMPARE(other.next(), bytesOf("fr4 6d4"));
    channel.setPort(receiver.port());
    feed(channel, "fr5 6d5");
    QCOMPARE(receiver.next(), bytesOf("fr5 6d5"));
    QVERIFY(other.isEmpty());
}

void TestRouter::destruction_data()
{
    QTest::addColumn<int>("starts");
    QTest::addColumn<int>("lines");

    QTest::newRow("never started") << 0 << 0;
    QTest::newRow("right after the start") << 1 << 0;
    QTest::newRow("threads that have not claimed the run") << 5 << 0;
    QTest::newRow("lines queued") << 1 << 2000;
}

void TestRouter::destruction()
{
    QFETCH(const int, starts);
    QFETCH(const int, lines);

    Receiver receiver;
    const int descriptors = descriptorCount();
    for (int round = 0; round < 30; ++round) {
        RouterChannel channel(receiver);
        for (int start = 0; start < starts; ++start)
            channel.updateRouterActiveState(true);
        for (int line = 0; line < lines; line += 2)
            feed(channel, "fr1 6d1");
    }
    QCOMPARE(descriptorCount(), descriptors);
    QVERIFY(comesTrue([this] { return threadCount() == m_threads; }));
}

void TestRouter::refusedThreadLeavesWorkerAlone()
{
    Receiver receiver;
    RouterChannel channel(receiver);
    channel.updateRouterActiveState(true);
    feed(channel, "fr1 6d1 fr2 6d2");
    QCOMPARE(receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
    platform::refuseThreads = true;
    channel.updateRouterActiveState(true);
    feed(channel, "fr3 6d3");
    QCOMPARE(receiver.next(), bytesOf("fr3 6d3"));
}

void TestRouter::publishWaitsForWalkers()
{
    Receiver receiver;
    RouterChannel channel(receiver);
    channel.updateRouterActiveState(true);
    ChannelFanOut fanOut;
    fanOut.publish({&channel});

    // A data thread that resets frames stays on its list for as long as the send takes.
    HeldSends sends;
    deliver(fanOut, "fr1 6d1 fr2 6d2");
    QVERIFY(sends.hold());
    std::future<void> reset = std::async(std::launch::async, [&fanOut] { fanOut.resetFrames(); });
    std::future<void> publish;
    bool walkerHolds = false;
    // A publication that comes before the walker does not wait for it; the next one is of the same list.
    for (int attempt = 0; attempt < 200 && !walkerHolds; ++attempt) {
        publish = std::async(std::launch::async, [&fanOut, &channel] { fanOut.publish({&channel}); });
        walkerHolds = publish.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
    }
    std::future<void> delivery = std::async(std::launch::async, [&fanOut] { deliver(fanOut, "gl1 gl2"); });
    const bool delivered = delivery.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    sends.release();
    QVERIFY(walkerHolds);
    QVERIFY(delivered);
    publish.get();
    reset.get();
    QCOMPARE(receiver.next(), bytesOf("fr1 6d1 fr2 6d2"));
    fanOut.publish({});
}

QTEST_GUILESS_MAIN(TestRouter)

#include "test_router.moc"
