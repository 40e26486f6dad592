// Sends stall while lines arrive at full speed: the memory stays bounded, the data thread does not wait, and
// no frame is joined from lines before and after a gap.

#include "fedchannel.h"
#include "loop.h"
#include "receiver.h"

#include <QtTest>

#include <chrono>

namespace {

QByteArray frameText(int number)
{
    const QByteArray word = QByteArray::number(number) + QByteArray(80, 'x');
    return bytesOf("fr" + word + " 6d" + word + " 6d" + word + " 3d" + word);
}

/// A received datagram. It should hold one frame or two consecutive frames.
struct Arrival
{
    explicit Arrival(const QByteArray &datagram)
        : first(datagram.mid(3, 12).split('x').first().toInt())
        , isSingle(datagram == frameText(first))
        , isDouble(datagram == frameText(first) + frameText(first + 1))
    {
    }

    int last() const { return isDouble ? first + 1 : first; }

    int first;
    bool isSingle;
    bool isDouble;
};

} // namespace

class TestOverload : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void queueStaysBoundedWhileSendsStall();
};

void TestOverload::cleanup()
{
    faults::path = faults::Open;
}

/// A data thread delivers without a pause while sends stall, and slowly otherwise.
void TestOverload::queueStaysBoundedWhileSendsStall()
{
    // During the stall the memory is measured twice: when firstFrames frames have been delivered, and when
    // floodFrames frames have been delivered and wantedSends sends have begun. The queue holds far fewer than
    // firstFrames frames.
    constexpr int firstFrames = 20000, floodFrames = 100000;
    constexpr int wantedSends = 25;
    constexpr int slowFrames = 100; // delivered after the stall

    faults::isPaced = true;
    RunningChannel channel;
    std::atomic<int> delivered{0};
    std::atomic<int> slowDeliveries{0}; // lines whose delivery took half a stalled send or longer
    auto data = std::make_unique<Loop>([&](int number) {
        const QByteArray text = frameText(number);
        for (const QByteArray &line : text.trimmed().split('\n')) {
            const auto begin = std::chrono::steady_clock::now();
            channel.feed(line.left(2).constData(), line.constData());
            slowDeliveries += std::chrono::steady_clock::now() - begin >= std::chrono::milliseconds(50);
        }
        delivered = number;
        // Even a busy computer sends faster than this, so the queue does not overflow again after the stall.
        if (faults::path == faults::Open)
            nativeSleep(10);
    });
    std::vector<Arrival> arrivals;
    const auto readUntil = [&](const std::function<bool()> &wanted) {
        return channel.receiver.readsUntil(wanted,
                                           [&](const QByteArray &text) { arrivals.emplace_back(text); });
    };
    QVERIFY(readUntil([&] { return arrivals.size() >= 20; }));

    const int sends = faults::sends;
    const int begin = delivered;
    faults::path = faults::Slow;
    QVERIFY(readUntil([&] { return delivered >= begin + firstFrames; }));
    const qint64 memory = residentBytes();
    QVERIFY(
        readUntil([&] { return delivered >= begin + floodFrames && faults::sends >= sends + wantedSends; }));
    const qint64 growth = residentBytes() - memory;
    const std::size_t stalledArrivals = arrivals.size();
    const int stalledSends = faults::sends - sends;
    faults::path = faults::Open;
    const int firstSlowNumber = delivered + 1;
    QVERIFY(readUntil([&] { return arrivals.back().last() >= firstSlowNumber + slowFrames; }));
    data.reset();
    QVERIFY(readUntil(faults::isAsleep));

    qInfo("%d frames, %d stalled sends, %d slow deliveries, %lld KiB more memory", firstSlowNumber - begin,
          stalledSends, slowDeliveries.load(), static_cast<long long>(growth / 1024));
    // A busy computer may delay a few deliveries. If deliveries waited for sends, about one would be slow
    // during each send.
    QVERIFY(slowDeliveries * 5 <= stalledSends);
    // The queue was already full at the first measurement, so the memory must hardly grow afterwards.
    QVERIFY(isSanitized || growth < qint64{8} * 1024 * 1024);

    int gaps = 0, lateGaps = 0;
    for (std::size_t i = 1; i < arrivals.size(); ++i) {
        const Arrival &arrival = arrivals[i];
        QVERIFY(arrival.isSingle || arrival.isDouble);
        QVERIFY(arrival.first > arrivals[i - 1].last());
        const bool isAfterGap = arrival.first != arrivals[i - 1].last() + 1;
        // After a gap the length of a frame is unknown again, so two frames share a datagram.
        QCOMPARE(arrival.isDouble, isAfterGap);
        gaps += isAfterGap;
        lateGaps += isAfterGap && i > stalledArrivals;
    }
    QVERIFY(gaps > 0);
    // After the stall there is at most one more gap: between the lines that the worker had already taken and
    // those still queued, because the queue drops only its oldest lines. The first arrival after the stall is
    // not counted, because its send may have begun during the stall.
    QVERIFY(lateGaps <= 1);
}

QTEST_GUILESS_MAIN(TestOverload)

#include "test_overload.moc"
