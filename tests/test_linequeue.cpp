// The memory that the bounded queue of lines between the data threads and a worker allocates. Which lines it
// keeps is also seen by test_framesagainstmodel.

#include "linequeue.h"
#include "process.h"
#include "table.h"

using namespace networksettings2g;

namespace {

constexpr int varyingBytes = 400000;

} // namespace

class TestLineQueue : public QObject
{
    Q_OBJECT

private slots:
    void oldestLinesAreDroppedBeyondTheLimitOfBytes();
    void fullQueueStaysWithinItsMemoryLimit_data();
    void fullQueueStaysWithinItsMemoryLimit();
    void blockReleasesTheBufferOfAnOverlongLine();
};

void TestLineQueue::blockReleasesTheBufferOfAnOverlongLine()
{
    LineBlock block;
    block.append({"6d", std::string(LineBlock::MaximumBytes, 'x')});
    QVERIFY(block.allocatedBytes() > LineBlock::MaximumBytes);
    block.clear();
    QVERIFY(block.allocatedBytes() < 1000);
}

void TestLineQueue::oldestLinesAreDroppedBeyondTheLimitOfBytes()
{
    LineQueue queue;
    for (int round = 0; round < 3; ++round) { // lines that were taken must not count in the next round
        for (char digit = '0'; digit < '6'; ++digit) {
            QVERIFY(!queue.takeLinesLostFlag() || digit > '3');
            queue.append({"6d", std::string(LineQueue::MaximumBytes / 4, digit)});
        }
        QVERIFY(queue.takeLinesLostFlag());
        std::string taken;
        LineBlock block;
        while (queue.take(&block)) {
            for (RouterLine line; block.read(&line);)
                taken += line.line.front();
        }
        // Each line takes slightly more than a quarter of the limit, so only three of them fit.
        QCOMPARE(taken, std::string("345"));
    }
}

void TestLineQueue::fullQueueStaysWithinItsMemoryLimit_data()
{
    const Table<int> row("lineBytes"); // -1: each line has another length, below varyingBytes
    row("empty lines", 0);
    row("short lines", 40);
    row("lines of 1000 bytes", 1000);
    row("lines just over half a block", int(LineBlock::MaximumBytes / 2 + 1));
    row("lines just over a block", int(LineBlock::MaximumBytes + 1));
    row("lines of 3 MB", 3000000);
    row("lines of varying length", -1);
}

void TestLineQueue::fullQueueStaysWithinItsMemoryLimit()
{
    QFETCH(const int, lineBytes);

    constexpr auto limit = static_cast<long long>(LineQueue::MaximumBytes);
    constexpr int slack = 128 * 1024; // rounding and bookkeeping of the allocator
    long long most = 0;
    const long long before = allocatedBytes();
    {
        LineQueue queue;
        const int lines = lineBytes > 500000 ? 40 : 40000;
        const std::string text(static_cast<std::size_t>(lineBytes < 0 ? varyingBytes : lineBytes), 'x');
        for (int number = 0; number < lines; ++number) {
            const std::size_t size =
                lineBytes < 0 ? static_cast<std::size_t>(number) * 7919 % text.size() : text.size();
            queue.append({"6d", std::string_view(text).substr(0, size)});
            most = std::max(most, allocatedBytes() - before - static_cast<long long>(text.capacity()));
            QVERIFY(queue.allocatedBytes() <= LineQueue::MaximumBytes);
        }
        QVERIFY(queue.lineCount() > 0);
        QVERIFY(queue.takeLinesLostFlag());
    }
    QVERIFY2(isSanitized || (most > 0 && most <= limit + slack), qPrintable(QString::number(most)));
}

QTEST_APPLESS_MAIN(TestLineQueue)

#include "test_linequeue.moc"
