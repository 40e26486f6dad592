// The bounded queue of lines between the data threads and a worker, and the memory that it actually
// allocates.

#include "linequeue.h"

#include <QtTest>

#include <atomic>
#include <cstdlib>
#include <new>

#include <malloc.h>

using namespace networksettings2g;

namespace {

std::atomic<std::size_t> allocated{0}; // by operator new, as rounded up by the allocator

} // namespace

void *operator new(std::size_t size)
{
    void *memory = std::malloc(size);
    if (!memory)
        std::abort();
    allocated += malloc_usable_size(memory);
    return memory;
}

void operator delete(void *memory) noexcept
{
    allocated -= malloc_usable_size(memory);
    std::free(memory);
}

void operator delete(void *memory, std::size_t /*size*/) noexcept
{
    operator delete(memory);
}

namespace {

/// Appends a line that consists of \a number and \a bytes further characters.
void append(LineQueue *queue, int number, std::size_t bytes = 0)
{
    const std::string text = std::to_string(number) + ' ' + std::string(bytes, 'x');
    queue->append({"6d", text});
}

/// Returns the numbers of all lines in their order.
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
    void fullQueueKeepsToItsMemory_data();
    void fullQueueKeepsToItsMemory();
};

void TestLineQueue::oldestBlockIsDroppedBeyondTheLimitOfLines()
{
    constexpr int held = static_cast<int>(LineQueue::MaximumLines);
    constexpr int lost = static_cast<int>(LineBlock::MaximumLines);

    LineQueue queue;
    for (int round = 0; round < 3; ++round) { // taken lines must not count
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
        QCOMPARE(takeAll(&queue),
                 numbersFrom(3, 3)); // four exceed the limit, because lengths are stored, too
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

void TestLineQueue::fullQueueKeepsToItsMemory_data()
{
    QTest::addColumn<int>("lineBytes");

    QTest::newRow("empty lines") << 0;
    QTest::newRow("short lines") << 40;
    QTest::newRow("lines of 1 KB") << 1000;
    QTest::newRow("just over half a block") << int(LineBlock::MaximumBytes / 2 + 1);
    QTest::newRow("just over a block") << int(LineBlock::MaximumBytes + 1);
    QTest::newRow("lines of 3 MB") << 3000000;
    QTest::newRow("lines of all lengths") << -1;
}

void TestLineQueue::fullQueueKeepsToItsMemory()
{
    QFETCH(const int, lineBytes);

    constexpr std::size_t slack = std::size_t{128} * 1024; // rounding and bookkeeping of the allocator
    std::size_t most = 0;
    const std::size_t before = allocated;
    {
        LineQueue queue;
        const int lines = lineBytes > 500000 ? 40 : 40000;
        const std::string text(static_cast<std::size_t>(lineBytes < 0 ? 400000 : lineBytes), 'x');
        for (int number = 0; number < lines; ++number) {
            const std::size_t size =
                lineBytes < 0 ? static_cast<std::size_t>(number) * 7919 % text.size() : text.size();
            queue.append({"6d", std::string_view(text).substr(0, size)});
            most = std::max(most, allocated - before - text.capacity());
            QVERIFY(queue.allocatedBytes() <= LineQueue::MaximumBytes);
        }
        QVERIFY(queue.lineCount() > 0);
        QVERIFY(queue.takeLinesLostFlag());
    }
    QVERIFY2(most <= LineQueue::MaximumBytes + slack, qPrintable(QString::number(most)));
}

QTEST_APPLESS_MAIN(TestLineQueue)

#include "test_linequeue.moc"
