// A receiver path that stalls while lines come as fast as they can: the queue keeps to its bounds, whoever
// delivers does not wait, and no frame is glued across a gap.

#include "fedchannel.h"
#include "receiver.h"

#include <QtTest>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <thread>

#include <unistd.h>

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isMemoryPlain = false; // a sanitizer keeps freed memory and shadows of it
#else
constexpr bool isMemoryPlain = true;
#endif

QByteArrayList frameLines(int number)
{
    const QByteArray text = ' ' + QByteArray::number(number) + ' ';
    return {"fr" + text + QByteArray(80, 'a') + "\r\n", "6d" + text + QByteArray(80, 'b') + "\r\n",
            "6d" + text + QByteArray(80, 'c') + "\r\n", "3d" + text + QByteArray(80, 'd') + "\r\n"};
}

QByteArray frameText(int number)
{
    return frameLines(number).join();
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

/// What has come, one frame in each datagram or two in a row.
class Arrivals
{
public:
    bool readUntil(const std::function<bool()> &wanted)
    {
        return m_receiver.readsUntil(wanted, [this](const QByteArray &datagram) { take(datagram); });
    }

    quint16 port() const { return m_receiver.port(); }
    const std::vector<Arrival> &all() const { return m_arrivals; }

    /// The first datagram of another kind; empty without one.
    const QByteArray &broken() const { return m_broken; }

private:
    void take(const QByteArray &datagram)
    {
        const int first = datagram.mid(3, 12).split(' ').first().toInt();
        const QByteArray one = frameText(first);
        if (datagram == one)
            m_arrivals.push_back({first, first});
        else if (datagram == one + frameText(first + 1))
            m_arrivals.push_back({first, first + 1});
        else if (m_broken.isEmpty())
            m_broken = datagram;
    }

    Receiver m_receiver;
    std::vector<Arrival> m_arrivals;
    QByteArray m_broken;
};

/// A data thread that delivers frames, without a pause as long as the path stalls and at a calm rate else.
class DataThread
{
public:
    explicit DataThread(FedChannel *channel)
        : m_thread([this, channel] { run(channel); })
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

    /// How many deliveries of a line took half as long as a stalled send or longer. After end().
    int slowDeliveries() const { return m_slowDeliveries; }

private:
    void run(FedChannel *channel)
    {
        for (; !m_ended; ++m_number) {
            const QByteArrayList lines = frameLines(m_number);
            for (const QByteArray &line : lines)
                deliver(channel, line);
            if (seam::path == seam::Open)
                nativeSleep(1);
        }
    }

    void deliver(FedChannel *channel, const QByteArray &line)
    {
        const auto begin = std::chrono::steady_clock::now();
        channel->feed(line.left(2).constData(), line.constData());
        if (std::chrono::steady_clock::now() - begin >= std::chrono::milliseconds(50))
            ++m_slowDeliveries;
    }

    std::atomic<bool> m_ended{false};
    std::atomic<int> m_number{1};
    int m_slowDeliveries = 0;
    std::thread m_thread;
};

} // namespace

class TestOverload : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void flood_data();
    void flood();
};

void TestOverload::cleanup()
{
    seam::path = seam::Open;
}

void TestOverload::flood_data()
{
    QTest::addColumn<int>("path");
    QTest::newRow("slow sends") << int(seam::Slow);
    QTest::newRow("sends time out") << int(seam::TimingOut);
}

void TestOverload::flood()
{
    QFETCH(const int, path);
    constexpr int floodFrames = 100000, firstFrames = 20000; // both far more than the queue holds
    constexpr int wantedSends = 25;
    constexpr int calmFrames = 300;

    seam::isPaced = true;
    Arrivals arrivals;
    FedChannel channel(arrivals.port());
    channel.updateRouterActiveState(true);
    DataThread data(&channel);
    QVERIFY(arrivals.readUntil([&] { return arrivals.all().size() >= 20; }));

    const int sends = seam::sends;
    const int begin = data.number();
    seam::path = static_cast<seam::Path>(path);
    QVERIFY(arrivals.readUntil([&] { return data.number() >= begin + firstFrames; }));
    const qint64 memory = residentBytes();
    QVERIFY(arrivals.readUntil(
        [&] { return data.number() >= begin + floodFrames && seam::sends >= sends + wantedSends; }));
    const qint64 growth = residentBytes() - memory;
    const std::size_t stalledArrivals = arrivals.all().size();
    const int stalledSends = seam::sends - sends;
    seam::path = seam::Open;
    const int calmNumber = data.number() + 1;
    QVERIFY(arrivals.readUntil([&] { return arrivals.all().back().last >= calmNumber + calmFrames; }));
    data.end();
    QVERIFY(arrivals.readUntil(seam::isAsleep));

    qInfo("%d frames, %d stalled sends, %d slow deliveries, %lld KiB more memory", calmNumber - begin,
          stalledSends, data.slowDeliveries(), static_cast<long long>(growth / 1024));
    // A delivery may meet a busy machine, but deliveries that wait for sends do so at each of them.
    QVERIFY(data.slowDeliveries() * 5 <= stalledSends);
    if (isMemoryPlain)
        QVERIFY(growth < qint64{8} * 1024 * 1024);

    QCOMPARE(arrivals.broken(), QByteArray());
    const std::vector<Arrival> &all = arrivals.all();
    int gaps = 0, lateGaps = 0;
    for (std::size_t i = 1; i < all.size(); ++i) {
        const bool isAfterGap = all[i].first != all[i - 1].last + 1;
        QVERIFY(all[i].first > all[i - 1].last);
        // Frames whose sends timed out are missing without a gap in the lines.
        if (path != seam::TimingOut || i > stalledArrivals)
            QCOMPARE(all[i].first != all[i].last, isAfterGap);
        gaps += isAfterGap;
        lateGaps += isAfterGap && i > stalledArrivals;
    }
    QVERIFY(gaps > 0);
    // What the stall has left in the queue has one gap in front of it; then every frame comes, each alone.
    QVERIFY(lateGaps <= 1);
}

QTEST_GUILESS_MAIN(TestOverload)

#include "test_overload.moc"
