// The bounded queue of lines between the data threads and a worker, and the memory that it allocates.

#include "linequeue.h"
#include "process.h"
#include "table.h"

using namespace networksettings2g;

namespace {

constexpr int varyingBytes = 400000;

/// Appends a line that consists of \a number, a blank and \a bytes further characters.
void append(LineQueue *queue, int number, std::size_t bytes = 0)
{
    const std::string text = std::to_string(number) + ' ' + std::string(bytes, 'x');
    queue->append({"6d", text});
}

/// Takes all lines. Returns their numbers in order.
QList<int> takeAll(LineQueue *queue)
{
    QList<int> numbers;
    LineBlock block;
    while (queue->take(&block)) {
        for (RouterLine line; block.read(&line);)
            numbers << std::stoi(std::string(line.line));
    }
    return numbers;
}

QList<int> numbersFrom(int first, int count)
{
    QList<int> numbers;
    for (int number = first; number < first + count; ++number)
        numbers << number;
    return numbers;
}

} // namespace

class TestLineQueue : public QObject
{
    Q_OBJECT

private slots:
    void oldestBlockIsDroppedBeyondTheLimitOfLines();
    void oldestLinesAreDroppedBeyondTheLimitOfBytes();
    void lineTooLongForAnEmptyQueueIsDropped();
    void fullQueueStaysWithinItsMemoryLimit_data();
    void fullQueueStaysWithinItsMemoryLimit();
    void blockKeepsALargeBufferFor99SmallUses();
};

void TestLineQueue::blockKeepsALargeBufferFor99SmallUses()
{
    LineBlock block;
    const auto use = [&block](std::size_t bytes, int times) {
        const std::string text(bytes, 'x');
        for (int time = 0; time < times; ++time) {
            block.append({"6d", text});
            RouterLine line;
            block.read(&line);
            block.clear();
            block.clear(); // clearing an empty block is not a use
        }
        return block.allocatedBytes();
    };
    const std::size_t large = use(60000, 1);
    QVERIFY(large > 60000);
    QCOMPARE(use(10, 99), large);
    QCOMPARE(use(60000, 1), large);
    QCOMPARE(use(10, 99), large);
    QVERIFY(use(10, 1) < 1000);
    QVERIFY(use(LineBlock::MaximumBytes, 1) < 1000); // a single overlong line
}

void TestLineQueue::oldestBlockIsDroppedBeyondTheLimitOfLines()
{
    constexpr int held = static_cast<int>(LineQueue::MaximumLines);
    constexpr int lost = static_cast<int>(LineBlock::MaximumLines);

    LineQueue queue;
    for (int round = 0; round < 3; ++round) { // lines that were taken must not count in the next round
        for (int number = 0; number < held; ++number)
            append(&queue, number);
        QVERIFY(!queue.takeLinesLostFlag());
        append(&queue, held);
        QVERIFY(queue.takeLinesLostFlag());
        QVERIFY(!queue.takeLinesLostFlag());
        QCOMPARE(takeAll(&queue), numbersFrom(lost, held + 1 - lost));
        QCOMPARE(queue.lineCount(), std::size_t{0});
    }
}

void TestLineQueue::oldestLinesAreDroppedBeyondTheLimitOfBytes()
{
    LineQueue queue;
    for (int round = 0; round < 3; ++round) {
        for (int number = 0; number < 6; ++number) {
            QVERIFY(!queue.takeLinesLostFlag() || number > 3);
            append(&queue, number, LineQueue::MaximumBytes / 4);
        }
        QVERIFY(queue.takeLinesLostFlag());
        // Each line takes slightly more than a quarter of the limit, so only three of them fit.
        QCOMPARE(takeAll(&queue), numbersFrom(3, 3));
    }
}

void TestLineQueue::lineTooLongForAnEmptyQueueIsDropped()
{
    LineQueue queue;
    append(&queue, 1, LineQueue::MaximumBytes);
    QCOMPARE(queue.lineCount(), std::size_t{0});
    append(&queue, 2);
    QCOMPARE(takeAll(&queue), QList<int>{2});
    QVERIFY(queue.takeLinesLostFlag());
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
