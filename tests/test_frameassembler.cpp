// The pure part of forwarding: lines into frames, and the bounded queue in front of it.
//
// Streams and datagrams are written as words: "fr100" stands for the line "fr 100" of the type fr, "6d7" for
// the line "6d 7" of the type 6d, and a bare type for a line of that type without text; "gl*9" is nine such
// lines. In a stream "restart" is a new worker, "reset" drops the frame, "gap" tells of lost lines.

#include "frameassembler.h"
#include "linequeue.h"

#include <QtTest>

#include <climits>

namespace {

RouterLine lineOf(const QByteArray &word)
{
    const QByteArray type = word.left(2);
    const QByteArray text = word.size() > 2 ? type + ' ' + word.mid(2) : QByteArray();
    return {type.toStdString(), (text + "\r\n").toStdString()};
}

QByteArray wordsOf(QByteArray datagram)
{
    return datagram.replace(' ', "").replace("\r\n", " ").trimmed();
}

/// Feeds the stream as a worker does; the datagrams that leave, with bars between them.
QByteArray sent(FrameAssembler *assembler, const QByteArray &stream, int divisor = 1)
{
    QByteArrayList datagrams;
    for (const QByteArray &word : stream.split(' ')) {
        const int star = word.indexOf('*');
        if (star > 0) {
            for (int times = word.mid(star + 1).toInt(); times > 0; --times)
                assembler->add(lineOf(word.left(star)));
        } else if (word == "gap") {
            assembler->startAfterGap();
        } else if (word == "reset") {
            assembler->resetFrame();
        } else if (word == "restart") {
            assembler->resetFrame();
            assembler->startRun();
        } else if (assembler->add(lineOf(word))) {
            if (assembler->isSendable(divisor))
                datagrams << wordsOf(assembler->text());
            assembler->resetFrame();
        }
    }
    return datagrams.join(" | ");
}

RouterLine numbered(int number, std::size_t bytes = 0)
{
    return {"6d", std::to_string(number) + ' ' + std::string(bytes, 'x')};
}

int takeNumber(LineQueue *queue)
{
    RouterLine line;
    return queue->take(&line) ? std::stoi(line.line) : -1;
}

} // namespace

class TestFrameAssembler : public QObject
{
    Q_OBJECT

private slots:
    void streams_data();
    void streams();
    void frameNumber_data();
    void frameNumber();
    void lineEnds_data();
    void lineEnds();
    void oversizedFrame_data();
    void oversizedFrame();
    void queueBoundedByLines();
    void queueBoundedByBytes();
    void queueRefusesHugeLine();
};

void TestFrameAssembler::streams_data()
{
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QByteArray>("datagrams");
    const auto row = [](const char *name, const QByteArray &stream, const QByteArray &datagrams) {
        QTest::newRow(name) << stream << datagrams;
    };
    /// Two regular frames ahead, which leave together.
    const auto steady = [&row](const char *name, const QByteArray &stream, const QByteArray &datagrams) {
        const QByteArray first = "fr1 6d1 3d1 fr2 6d2 3d2";
        row(name, first + ' ' + stream, first + " | " + datagrams);
    };

    steady("regular", "fr3 6d3 3d3 fr4 6d4 3d4", "fr3 6d3 3d3 | fr4 6d4 3d4");
    row("fr alone", "fr1 fr2 fr3", "fr1 fr2 | fr3");
    row("without fr", "6d1 3d1 6d2 3d2 6d3 3d3", "");
    row("begins in mid-frame", "6d1 3d1 fr2 6d2 3d2 fr3 6d3 3d3 fr4",
        "6d1 3d1 fr2 6d2 3d2 fr3 | 6d3 3d3 fr4");
    steady("number 0", "fr0 6d0 3d0 fr4 6d4 3d4", "fr4 6d4 3d4");
    steady("a line fewer", "fr3 6d3 fr4 6d4 3d4 fr5 6d5 3d5 fr6 6d6 3d6",
           "fr3 6d3 fr4 6d4 | 3d4 fr5 6d5 3d5 | fr6 6d6 3d6");
    steady("a line more", "fr3 6d3 3d3 gl3 fr4 6d4 3d4 fr5 6d5 3d5 fr6 6d6 3d6",
           "fr3 6d3 3d3 | gl3 fr4 6d4 3d4 fr5 6d5 3d5 | fr6 6d6 3d6");
    steady("lines without text count", "fr3 6d 3d3 fr4 6d4 3d fr5 6d5 3d5",
           "fr3 3d3 | fr4 6d4 | fr5 6d5 3d5");
    steady("reset behind the number", "fr3 6d3 reset 3d3 fr4 6d4 3d4", "fr4 6d4 3d4");
    row("reset ahead of the number", "6d1 fr1 6d2 fr2 6d3 reset fr3 6d4 fr4",
        "6d1 fr1 6d2 fr2 | fr3 | 6d4 fr4");

    steady("restart", "fr3 restart fr5 6d5 3d5 fr6 6d6 3d6 fr7 6d7 3d7",
           "fr5 6d5 3d5 fr6 6d6 3d6 | fr7 6d7 3d7");
    steady("restart in mid-frame", "restart 6d5 3d5 fr6 6d6 3d6 fr7 6d7 3d7",
           "6d5 3d5 fr6 6d6 | 3d6 fr7 6d7 3d7");

    steady("gap in mid-frame", "fr3 gap 3d4 fr5 6d5 3d5 fr6 6d6 3d6 fr7 6d7 3d7",
           "fr5 6d5 3d5 fr6 6d6 3d6 | fr7 6d7 3d7");
    steady("gap up to a frame's start", "fr3 6d3 gap fr5 6d5 3d5 fr6 6d6 3d6", "fr5 6d5 3d5 fr6 6d6 3d6");
    steady("gap after gap", "fr3 gap 6d4 gap 3d5 fr6 6d6 3d6 fr7 6d7 3d7", "fr6 6d6 3d6 fr7 6d7 3d7");
    row("gap in the first frame", "fr1 6d1 gap 3d4 fr5 6d5 3d5 fr6 6d6 3d6", "fr5 6d5 3d5 fr6 6d6 3d6");
    row("gap before anything", "gap 6d1 fr1 6d2 fr2", "6d1 fr1 6d2 fr2");

    // The type that opens frames is switched off. The line behind its last one is the first without it.
    static_assert(FrameAssembler::MaximumLinesWithoutStart == 1000, "the streams below count on it");
    row("opening type learnt anew", "6d1 fr1 6d2 fr2 gl*999 3d7 fr7 3d8 fr8 3d9 fr9",
        "6d1 fr1 6d2 fr2 | 3d7 fr7 3d8 fr8 | 3d9 fr9");
    row("not learnt too early", "6d1 fr1 6d2 fr2 gl*998 3d7 fr7 3d8 fr8 3d9",
        "6d1 fr1 6d2 fr2 | fr7 3d8 fr8 3d9");
    row("back in time", "6d1 fr1 6d2 fr2 gl*999 6d7 fr7 6d8 fr8", "6d1 fr1 6d2 fr2 | 6d7 fr7 6d8 fr8");
    row("learnt anew behind a gap", "6d1 fr1 6d2 fr2 gap gl*1000 3d7 fr7 3d8 fr8",
        "6d1 fr1 6d2 fr2 | 3d7 fr7 3d8 fr8");
    row("learnt anew without old text", "6d1 fr1 6d2 fr2 6d3 gl3 gl*999 3d7 fr7 3d8 fr8",
        "6d1 fr1 6d2 fr2 | 3d7 fr7 3d8 fr8");
}

void TestFrameAssembler::streams()
{
    QFETCH(const QByteArray, stream);
    QFETCH(const QByteArray, datagrams);

    FrameAssembler assembler;
    QCOMPARE(sent(&assembler, stream), datagrams);
    // Every other frame, under the number of the last one in a datagram.
    FrameAssembler halved;
    const QByteArray even = sent(&halved, stream, 2);
    for (const QByteArray &datagram : datagrams.split('|')) {
        const int number = datagram.mid(datagram.lastIndexOf("fr") + 2).trimmed().split(' ').first().toInt();
        QCOMPARE(even.contains(datagram.trimmed()), number % 2 == 0);
    }
}

void TestFrameAssembler::frameNumber_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<qint64>("number");
    const auto row = [](const char *line, qint64 number) {
        QTest::newRow(line) << QByteArray(line) << number;
    };

    row("fr 17\r\n", 17);
    row("fr 7", 7);
    row("fr:19\r\n", 19);
    row("fr \t  23\r\n", 23);
    row("fr +29\r\n", 29);
    row("fr -31\r\n", -31);
    row("fr 37x5 41\r\n", 37);
    row("fr 010\r\n", 10);
    row("fr 2147483647\r\n", 2147483647);
    row("fr -2147483648\r\n", -2147483648LL);
    // What does not fit or is no number drops the frame.
    for (const char *line : {"fr 2147483648\r\n", "fr -2147483649\r\n", "fr 4294967297\r\n",
                             "fr 99999999999999999999\r\n", "fr x43\r\n", "fr -\r\n", "fr ", "fr", "f", ""})
        row(line, 0);
}

void TestFrameAssembler::frameNumber()
{
    QFETCH(const QByteArray, line);
    QFETCH(const qint64, number);

    FrameAssembler assembler;
    QVERIFY(!assembler.add(lineOf("fr97")));
    QVERIFY(assembler.add({"fr", line.toStdString()}));
    QCOMPARE(assembler.isSendable(1), number != 0);
    if (number == 0)
        return;
    // The number's own amount divides it, and the next smaller one does not. The least number has no
    // counterpart above 0; its half serves.
    const qint64 amount = qAbs(number);
    const int divisor = static_cast<int>(amount > INT_MAX ? amount / 2 : amount);
    QVERIFY(assembler.isSendable(divisor));
    QVERIFY(!assembler.isSendable(divisor - 1));
}

void TestFrameAssembler::lineEnds_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("text");
    const auto row = [](const char *line, const char *text) {
        QTest::newRow(line) << QByteArray(line) << QByteArray(text);
    };

    for (const char *line : {"6d 1", "6d 1\r\n", "6d 1\n", "6d 1\r", "6d 1\n\r", "6d 1\r\r\n\n\r"})
        row(line, "6d 1\r\n");
    row("6d\r1\n2\r\n", "6d\r1\n2\r\n");
    row("6d \r\n", "6d \r\n");
    row("\r\n\n\r", "");
    row("", "");
}

void TestFrameAssembler::lineEnds()
{
    QFETCH(const QByteArray, line);
    QFETCH(const QByteArray, text);

    FrameAssembler assembler;
    assembler.add({"6d", line.toStdString()});
    QCOMPARE(assembler.text(), text);
}

void TestFrameAssembler::oversizedFrame_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<bool>("leaves");

    // Beside the long line and its CR LF the frame has two lines of 6 bytes.
    constexpr int room = FrameAssembler::MaximumFrameBytes - 2 - 6 - 6;
    QTest::newRow("fits") << room << true;
    QTest::newRow("the short line behind is too much") << room + 1 << false;
    QTest::newRow("the long line is too much") << room + 7 << false;
    QTest::newRow("much too long") << 10 * room << false;
}

void TestFrameAssembler::oversizedFrame()
{
    QFETCH(const int, bytes);
    QFETCH(const bool, leaves);

    FrameAssembler assembler;
    sent(&assembler, "fr1 6d1 3d1 fr2 6d2 3d2");
    QVERIFY(!assembler.add(lineOf("fr3")));
    QVERIFY(!assembler.add({"6d", std::string(static_cast<std::size_t>(bytes), 'x') + "\r\n"}));
    QVERIFY(assembler.add(lineOf("3d3")));
    QCOMPARE(assembler.isSendable(1), leaves);
    if (leaves)
        QCOMPARE(assembler.text().size(), FrameAssembler::MaximumFrameBytes);
    assembler.resetFrame();
    QCOMPARE(sent(&assembler, "fr4 6d4 3d4"), QByteArray("fr4 6d4 3d4"));
}

void TestFrameAssembler::queueBoundedByLines()
{
    constexpr int held = static_cast<int>(LineQueue::MaximumLines);
    constexpr int lost = 3;

    LineQueue queue;
    for (int number = 0; number < held; ++number)
        queue.append(numbered(number));
    QVERIFY(!queue.takeGap());
    for (int number = held; number < held + lost; ++number)
        queue.append(numbered(number));
    QVERIFY(queue.takeGap());
    QVERIFY(!queue.takeGap());
    for (int number = lost; number < held + lost; ++number)
        QCOMPARE(takeNumber(&queue), number);
    QVERIFY(queue.isEmpty());
}

void TestFrameAssembler::queueBoundedByBytes()
{
    LineQueue queue;
    for (int round = 0; round < 3; ++round) { // what has been taken must leave the count of bytes
        for (int number = 0; number < 6; ++number) {
            QVERIFY(!queue.takeGap() || number > 3);
            queue.append(numbered(number, LineQueue::MaximumBytes / 4));
        }
        QVERIFY(queue.takeGap());
        for (int number = 3; number < 6; ++number) // with their own texts four would be too much
            QCOMPARE(takeNumber(&queue), number);
        QVERIFY(queue.isEmpty());
    }
}

void TestFrameAssembler::queueRefusesHugeLine()
{
    LineQueue queue;
    queue.append(numbered(1));
    queue.append(numbered(2, LineQueue::MaximumBytes));
    queue.append(numbered(3));
    // The gap is told of in front of the next line, so what stood before the lost one goes too.
    QCOMPARE(takeNumber(&queue), 3);
    QVERIFY(queue.takeGap());
    QVERIFY(queue.isEmpty());
}

QTEST_APPLESS_MAIN(TestFrameAssembler)

#include "test_frameassembler.moc"
