// A receiver path that stalls while lines come as fast as they can: the queue keeps to its bounds, whoever
// delivers does not wait, and no frame is glued across a gap.

#include "channelasrouter.h"
#include "native.h"
#include "outputtypeinfo.h"
#include "pacedsends.h"

#include <QDeadlineTimer>
#include <QUdpSocket>
#include <QtTest>

#include <algorithm>
#include <chrono>
#include <deque>
#include <fstream>
#include <functional>
#include <thread>

#include <unistd.h>

// The linker puts these in front of the platform's functions (--wrap): a test stalls the path at will, a
// worker without lines looks at its queue often, and one that sends waits until the receiver has room.

namespace platform {

enum Path
{
    Open,
    Slow,      // each send takes as long as a send may
    TimingOut, // each send takes as long and fails
    Held       // sends do not end
};

std::atomic<Path> path{Open};
std::atomic<int> stalledSends{0};
std::atomic<int> lineWaits{0};

} // namespace platform

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's.
extern "C" {

int __real_nativeSemaphoreWait(NativeSemaphore *, uint32_t);
int __wrap_nativeSemaphoreWait(NativeSemaphore *semaphore, uint32_t milliseconds)
{
    if (milliseconds == nativeForever)
        return __real_nativeSemaphoreWait(semaphore, milliseconds);
    ++platform::lineWaits;
    return __real_nativeSemaphoreWait(semaphore, 1);
}

int __real_nativeSocketWaitWritable(NativeSocket, uint32_t);
int __wrap_nativeSocketWaitWritable(NativeSocket socket, uint32_t timeoutMicroseconds)
{
    const platform::Path path = platform::path;
    if (path != platform::Open)
        ++platform::stalledSends;
    if (path == platform::Slow || path == platform::TimingOut)
        nativeSleep(timeoutMicroseconds / 1000);
    const QDeadlineTimer limit(20000);
    while (platform::path == platform::Held && !limit.hasExpired())
        nativeSleep(1);
    return path == platform::TimingOut ? NativeTimedOut
                                       : __real_nativeSocketWaitWritable(socket, timeoutMicroseconds);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr int limitMilliseconds = 30000;
constexpr int linesPerFrame = 4;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isMemoryPlain = false; // a sanitizer keeps freed memory and shadows of it
#else
constexpr bool isMemoryPlain = true;
#endif

std::vector<std::string> frameLines(int number, int lineBytes)
{
    const std::string text = std::to_string(number) + ' ';
    const auto rest = static_cast<std::size_t>(lineBytes);
    return {"fr " + text + std::string(rest, 'a') + "\r\n", "6d " + text + std::string(rest, 'b') + "\r\n",
            "6d " + text + std::string(rest, 'c') + "\r\n", "3d " + text + std::string(rest, 'd') + "\r\n"};
}

std::string frameText(int number, int lineBytes)
{
    std::string text;
    for (const std::string &line : frameLines(number, lineBytes))
        text += line;
    return text;
}

void feed(ChannelAsRouter &channel, int number, int lineBytes)
{
    for (const std::string &line : frameLines(number, lineBytes))
        channel.enqueue(line.substr(0, 2).c_str(), line.c_str());
}

qint64 residentBytes()
{
    qint64 size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

/// The frames of one datagram.
struct Arrival
{
    int first = 0;
    int last = 0;
};

/// A receiver that reads on while it waits, and takes nothing but whole frames.
class Receiver
{
public:
    explicit Receiver(int lineBytes)
        : m_lineBytes(lineBytes)
    {
        m_socket.bind(QHostAddress(QHostAddress::LocalHost));
    }

    quint16 port() const { return m_socket.localPort(); }

    bool waitsFor(const std::function<bool()> &wanted)
    {
        const QDeadlineTimer limit(limitMilliseconds);
        while (!wanted()) {
            if (limit.hasExpired())
                return false;
            if (!read())
                nativeSleep(1);
        }
        while (read()) {
        }
        return true;
    }

    /// Whether the worker has handled all that was queued before the call. One wait may have begun before.
    bool settles()
    {
        const int before = platform::lineWaits;
        return waitsFor([before] { return platform::lineWaits >= before + 2; });
    }

    const std::vector<Arrival> &arrivals() const { return m_arrivals; }

    /// The first datagram that was not one frame, or two in a row; empty without one.
    const QByteArray &broken() const { return m_broken; }

private:
    bool read()
    {
        if (!m_socket.hasPendingDatagrams())
            return false;
        const qint64 length = m_socket.readDatagram(m_bytes.data(), m_bytes.size());
        platform::bytesUnderWay -= static_cast<int>(length);
        --platform::datagramsUnderWay;
        take(std::string(m_bytes.constData(), static_cast<std::size_t>(length)));
        return true;
    }

    void take(const std::string &datagram)
    {
        const int first = QByteArray::fromStdString(datagram.substr(3, 12)).split(' ').first().toInt();
        const std::string one = frameText(first, m_lineBytes);
        if (datagram == one)
            m_arrivals.push_back({first, first});
        else if (datagram == one + frameText(first + 1, m_lineBytes))
            m_arrivals.push_back({first, first + 1});
        else if (m_broken.isEmpty())
            m_broken = QByteArray::fromStdString(datagram);
    }

    const int m_lineBytes;
    QUdpSocket m_socket;
    QByteArray m_bytes = QByteArray(65536, '\0');
    std::vector<Arrival> m_arrivals;
    QByteArray m_broken;
};

/// An active channel to \a receiver that ticks fr, 6d and 3d, and a worker that knows how long a frame is.
class RouterChannel : public ChannelAsRouter
{
public:
    explicit RouterChannel(const Receiver &receiver)
        : ChannelAsRouter(nullptr, 0, nullptr)
    {
        setOutputTypes({{"fr", "", true}, {"6d", "", true}, {"3d", "", true}});
        for (const char *type : {"fr", "6d", "3d"}) {
            for (QStandardItem *item : typeModel()->findItems(type))
                item->setCheckState(Qt::Checked);
        }
        setIp(0x7f000001);
        setPort(receiver.port());
        setActive(true);
        updateRouterActiveState(true);
    }
};

/// A data thread that delivers frames, without a pause as long as the path stalls and at a calm rate else.
class DataThread
{
public:
    DataThread(ChannelAsRouter *channel, int firstNumber, int lineBytes)
        : m_number(firstNumber)
        , m_thread([this, channel, lineBytes] { run(*channel, lineBytes); })
    {
    }
    ~DataThread() { end(); }

    void end()
    {
        m_ended = true;
        if (m_thread.joinable())
            m_thread.join();
    }

    /// The number of the frame that is being delivered.
    int number() const { return m_number; }

    /// The longest delivery of a line, and how many took half as long as a stalled send or longer. After
    /// end().
    std::chrono::microseconds longest() const
    {
        return std::chrono::duration_cast<std::chrono::microseconds>(m_longest);
    }
    int slowDeliveries() const { return m_slowDeliveries; }

private:
    void run(ChannelAsRouter &channel, int lineBytes)
    {
        for (; !m_ended; ++m_number) {
            for (const std::string &line : frameLines(m_number, lineBytes))
                deliver(channel, line);
            if (platform::path == platform::Open)
                nativeSleep(1);
        }
    }

    void deliver(ChannelAsRouter &channel, const std::string &line)
    {
        const std::string type = line.substr(0, 2);
        const auto begin = std::chrono::steady_clock::now();
        channel.enqueue(type.c_str(), line.c_str());
        const auto taken = std::chrono::steady_clock::now() - begin;
        m_longest = std::max(m_longest, taken);
        if (taken >= std::chrono::milliseconds(50))
            ++m_slowDeliveries;
    }

    std::atomic<bool> m_ended{false};
    std::atomic<int> m_number;
    std::chrono::steady_clock::duration m_longest{0};
    int m_slowDeliveries = 0;
    std::thread m_thread;
};

} // namespace

class TestOverload : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void bounds_data();
    void bounds();
    void flood_data();
    void flood();
};

void TestOverload::cleanup()
{
    platform::path = platform::Open;
}

void TestOverload::bounds_data()
{
    QTest::addColumn<int>("lineBytes");
    QTest::addColumn<int>("frames");
    QTest::newRow("number of lines") << 20 << 5000;
    QTest::newRow("bytes") << 7000 << 900;
}

// One send lasts until more has come than the queue takes. What comes out then is what fits into it.
void TestOverload::bounds()
{
    QFETCH(const int, lineBytes);
    QFETCH(const int, frames);
    const int firstNumber = 100001; // lines of all frames are equally long
    const int heldNumber = firstNumber + 2;
    const int lastNumber = heldNumber + frames;

    Receiver receiver(lineBytes);
    RouterChannel channel(receiver);
    feed(channel, firstNumber, lineBytes);
    feed(channel, firstNumber + 1, lineBytes);
    QVERIFY(receiver.settles());
    platform::path = platform::Held;
    const int sends = platform::stalledSends;
    feed(channel, heldNumber, lineBytes);
    QVERIFY(receiver.waitsFor([sends] { return platform::stalledSends > sends; }));
    for (int number = heldNumber + 1; number <= lastNumber; ++number)
        feed(channel, number, lineBytes);
    QCOMPARE(platform::stalledSends.load(), sends + 1);
    platform::path = platform::Open;
    QVERIFY(receiver.settles());

    const std::vector<std::string> lines = frameLines(firstNumber, lineBytes);
    const std::size_t fittingBytes = LineQueue::MaximumBytes / (lines.front().size() + 2); // 2: the type
    const int fittingLines = static_cast<int>(std::min(LineQueue::MaximumLines, fittingBytes));
    const int firstKept = lastNumber - fittingLines / linesPerFrame + 1;
    QCOMPARE(receiver.broken(), QByteArray());
    const std::vector<Arrival> &arrivals = receiver.arrivals();
    QVERIFY(arrivals.size() > 3);
    QCOMPARE(arrivals[0].last, firstNumber + 1);
    QCOMPARE(arrivals[1].first, heldNumber);
    QCOMPARE(arrivals[1].last, heldNumber);
    QCOMPARE(arrivals[2].first, firstKept);
    QCOMPARE(arrivals[2].last, firstKept + 1);
    QCOMPARE(static_cast<int>(arrivals.size()) - 3, lastNumber - firstKept - 1);
    for (std::size_t i = 3; i < arrivals.size(); ++i)
        QCOMPARE(arrivals[i].first, arrivals[i - 1].last + 1);
}

void TestOverload::flood_data()
{
    QTest::addColumn<int>("path");
    QTest::newRow("slow sends") << int(platform::Slow);
    QTest::newRow("sends time out") << int(platform::TimingOut);
}

void TestOverload::flood()
{
    QFETCH(const int, path);
    constexpr int lineBytes = 80;
    constexpr int floodFrames = 100000, firstFrames = 20000; // both far more than the queue holds
    constexpr int wantedSends = 25;
    constexpr int calmFrames = 300;

    Receiver receiver(lineBytes);
    RouterChannel channel(receiver);
    DataThread data(&channel, 1, lineBytes);
    QVERIFY(receiver.waitsFor([&] { return receiver.arrivals().size() >= 20; }));

    const int sends = platform::stalledSends;
    const int begin = data.number();
    platform::path = static_cast<platform::Path>(path);
    QVERIFY(receiver.waitsFor([&] { return data.number() >= begin + firstFrames; }));
    const qint64 memory = residentBytes();
    QVERIFY(receiver.waitsFor([&] {
        return data.number() >= begin + floodFrames && platform::stalledSends >= sends + wantedSends;
    }));
    const qint64 growth = residentBytes() - memory;
    const std::size_t stalledArrivals = receiver.arrivals().size();
    platform::path = platform::Open;
    const int calmNumber = data.number() + 1;
    const int stalled = platform::stalledSends - sends;
    QVERIFY(receiver.waitsFor([&] { return receiver.arrivals().back().last >= calmNumber + calmFrames; }));
    data.end();
    QVERIFY(receiver.settles());

    qInfo("%d frames, %d stalled sends, the longest delivery %lld us, %d slow, %lld KiB more memory",
          calmNumber - begin, stalled, static_cast<long long>(data.longest().count()), data.slowDeliveries(),
          static_cast<long long>(growth / 1024));
    // A delivery may meet a busy machine, but deliveries that wait for sends do so at each of them.
    QVERIFY(data.slowDeliveries() * 5 <= stalled);
    if (isMemoryPlain)
        QVERIFY(growth < qint64{8} * 1024 * 1024);

    QCOMPARE(receiver.broken(), QByteArray());
    const std::vector<Arrival> &arrivals = receiver.arrivals();
    int gaps = 0, lateGaps = 0;
    for (std::size_t i = 1; i < arrivals.size(); ++i) {
        const bool isAfterGap = arrivals[i].first != arrivals[i - 1].last + 1;
        const bool isTwoFrames = arrivals[i].first != arrivals[i].last;
        QVERIFY(arrivals[i].first > arrivals[i - 1].last);
        // Frames whose sends timed out are missing without a gap in the lines.
        if (path != platform::TimingOut || i > stalledArrivals)
            QCOMPARE(isTwoFrames, isAfterGap);
        gaps += isAfterGap;
        lateGaps += isAfterGap && i > stalledArrivals;
    }
    QVERIFY(gaps > 0);
    // What the stall has left in the queue has one gap in front of it; then every frame comes, each alone.
    QVERIFY(lateGaps <= 1);
}

QTEST_GUILESS_MAIN(TestOverload)

#include "test_overload.moc"
