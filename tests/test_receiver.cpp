#include "framesequence.h"
#include "program.h"
#include "replayedframes.h"
#include "table.h"
#include "udpsocket.h"

#include <QTemporaryDir>

using namespace simulation;

namespace {

using Datagrams = QList<QByteArray>;

Datagrams frames(int first, int last)
{
    Datagrams datagrams;
    for (int number = first; number <= last; ++number)
        datagrams.append("fr " + QByteArray::number(number) + "\r\n6d 0\r\n");
    return datagrams;
}

/// The program `receiver` as a process. The constructor waits until the program listens on \a ports ports.
class RunningReceiver : public Program
{
public:
    explicit RunningReceiver(const QString &arguments, int ports = 1)
        : Program(RECEIVER_PATH, arguments)
    {
        for (int i = 0; i < ports; ++i) {
            const QByteArray line = nextLine();
            m_ports.append(line.mid(line.lastIndexOf(':') + 1).toUShort());
        }
    }

    /// Sends to the program's port with \a index, which counts from 0 in the order of the arguments.
    void send(const Datagrams &datagrams, int index = 0, quint32 address = 0x7f000001)
    {
        for (const QByteArray &datagram : datagrams)
            QVERIFY(m_sender.send(datagram, address, m_ports.at(index)));
    }

    /// Ends the program. Returns the summaries, which cover all datagrams that have been sent so far.
    QByteArray finish()
    {
        sendSignal(SIGINT);
        waitForFinished(LimitMs);
        const QByteArray out = readAllStandardOutput();
        return out.mid(out.indexOf("summary of"));
    }

private:
    UdpSocket m_sender;
    QList<quint16> m_ports;
};

} // namespace

class TestReceiver : public QObject
{
    Q_OBJECT

private slots:
    void gapsInTheNumbersAreCounted_data();
    void gapsInTheNumbersAreCounted();
    void summaryJudgesTheDatagrams_data();
    void summaryJudgesTheDatagrams();
    void portsAreJudgedSeparately();
    void groupIsJoinedOnTheInterface();
    void savedFileIsReplayed();
    void failedWriteIsReportedOnce();
    void runEndsAfterTheGivenTime();
    void invalidArgumentsAreRefused_data();
    void invalidArgumentsAreRefused();
};

void TestReceiver::gapsInTheNumbersAreCounted_data()
{
    const Table<QList<int>, int, int, int> row("numbers", "lost", "outOfOrder", "restarts");
    row("no frame", {}, 0, 0, 0);
    row("one frame", {7}, 0, 0, 0);
    row("two frames are missing", {7, 8, 11, 12}, 2, 0, 0);
    row("divisor is recognised", {10, 15, 20, 25}, 0, 0, 0);
    row("gap with a divisor", {10, 15, 25}, 1, 0, 0);
    row("divisor is recognised after the gap", {10, 20, 25}, 1, 0, 0);
    row("negative numbers", {-4, -2, 2}, 0, 0, 0);
    row("late frame is not lost", {1, 2, 4, 3, 5}, 0, 1, 0);
    row("duplicate does not fill a gap", {1, 2, 2, 4}, 1, 1, 0);
    row("late frame and its duplicate", {1, 3, 2, 2, 4}, 0, 2, 0);
    row("each frame twice", {1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11}, 0, 11, 0);
    row("restart after a loss", {500, 501, 503, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, 1, 0, 1);
    row("loss after a restart", {500, 501, 1, 2, 3, 4, 5, 7, 8, 9, 10, 11, 12}, 1, 0, 1);
    row("restart does not fill the gaps before it", {1, 2, 20, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 17, 0, 1);
    row("no restart before the tenth late frame", {500, 501, 1, 2, 3, 4, 5, 6, 7, 8, 9, 502}, 0, 9, 0);
    row("restart with a smaller divisor", {2, 4, 6, 8, 10, 12, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, 0, 0, 1);
}

void TestReceiver::gapsInTheNumbersAreCounted()
{
    QFETCH(const QList<int>, numbers);
    FrameSequence sequence;
    for (const int number : numbers)
        sequence.take(number);
    QTEST(int(sequence.lost()), "lost");
    QTEST(int(sequence.outOfOrder()), "outOfOrder");
    QTEST(sequence.restarts(), "restarts");
}

void TestReceiver::summaryJudgesTheDatagrams_data()
{
    const Table<Datagrams, bool, QByteArray, QString> row("datagrams", "isGood", "summary", "options");
    row("every frame", frames(1, 40), true, ": 40 frames,", "");
    row("two frames in the first datagram", Datagrams{"fr 1\r\nfr 3\r\n"} + frames(4, 5), true, ": 4 frames,",
        "");
    row("no datagram", {}, false, "from nobody: BAD", "");
    row("lost frame", frames(1, 5) + frames(7, 9), false,
        "1 lost, 0 out of order, 0 malformed, last number 9,", "");
    row("late frame", frames(1, 5) + frames(7, 7) + frames(6, 6), true, "0 lost, 1 out of order", "");
    row("sufficient rate", frames(1, 40), true, ": good", "--expect 1 ");
    row("insufficient rate", frames(1, 2), false, ": BAD", "--expect 100000 ");
    const auto malformed = [&row](const char *name, const QByteArray &datagram) {
        row(name, frames(1, 2) + Datagrams{datagram}, false, "1 malformed, last number 2,", "");
    };
    malformed("empty datagram", "");
    malformed("no number", "6d 0\r\n");
    malformed("number zero", "fr 0\r\n");
    malformed("last line is cut", "fr 3\r\n6d");
    malformed("line end without CR", "fr 3\n6d 0\r\n");
    malformed("empty line", "fr 3\r\n\r\n");
    malformed("binary data", QByteArray("fr 3\r\n6d \0\r\n", 11));
    malformed("three frames in one", "fr 3\r\nfr 4\r\nfr 5\r\n");
    malformed("two frames in wrong order", "fr 4\r\nfr 3\r\n");
}

void TestReceiver::summaryJudgesTheDatagrams()
{
    QFETCH(const QString, options);
    QFETCH(const Datagrams, datagrams);
    QFETCH(const bool, isGood);
    QFETCH(const QByteArray, summary);
    RunningReceiver receiver(options + QLatin1String("127.0.0.1:0"));
    receiver.send(datagrams);
    const QByteArray out = receiver.finish();
    QVERIFY2(out.contains(summary), out);
    QCOMPARE(out.contains(": BAD\n"), !isGood);
    QCOMPARE(receiver.status(), isGood ? 0 : 1);
}

void TestReceiver::portsAreJudgedSeparately()
{
    RunningReceiver receiver(QLatin1String("127.0.0.1:0 0"), 2);
    receiver.send(frames(1, 3), 0);
    receiver.send(frames(5, 6) + frames(8, 8), 1);
    const QList<QByteArray> lines = receiver.finish().split('\n');
    QVERIFY2(lines.at(0).startsWith("summary of 127.0.0.1:") && lines.at(0).contains(" from 127.0.0.1:") &&
                 lines.at(0).endsWith(": good"),
             lines.at(0));
    QVERIFY2(lines.at(1).startsWith("summary of 0.0.0.0:") && lines.at(1).endsWith(": BAD"), lines.at(1));
    QCOMPARE(receiver.status(), 1);
}

void TestReceiver::groupIsJoinedOnTheInterface()
{
    RunningReceiver receiver(QLatin1String("--interface lo 239.255.42.9:0"));
    receiver.send(frames(1, 3), 0, 0xefff2a09); // the group, through the loopback interface
    const QByteArray out = receiver.finish();
    QVERIFY2(out.startsWith("summary of 239.255.42.9:") && out.contains(": 3 frames,"), out);
}

void TestReceiver::savedFileIsReplayed()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("frames");
    RunningReceiver receiver(QLatin1String("--save ") + file + QLatin1String(" 127.0.0.1:0"));
    receiver.send(frames(1, 2) + Datagrams{"fr 3\r\n6d"} + frames(4, 4));
    receiver.finish();
    QCOMPARE(receiver.status(), 1);
    ReplayedFrames replay;
    QString problem;
    QVERIFY2(replay.open(file, {"fr", "6d"}, &problem), qPrintable(problem));
    QList<int> numbers;
    for (Frame frame; replay.next(&frame);)
        numbers.append(frame.size() == 2 && frame.last().text == "6d 0\r\n" ? frameNumber(frame) : -1);
    QCOMPARE(numbers, (QList<int>{1, 2, 4}));
    QCOMPARE(replay.skippedLines(), 0);
}

void TestReceiver::failedWriteIsReportedOnce()
{
    RunningReceiver receiver(QLatin1String("--save /dev/full 127.0.0.1:0"));
    receiver.send(frames(1, 3));
    receiver.finish();
    QCOMPARE(receiver.status(), 2);
    QCOMPARE(receiver.readAllStandardError().count("receiver: cannot write '/dev/full'"), 1);
}

void TestReceiver::runEndsAfterTheGivenTime()
{
    RunningReceiver receiver(QLatin1String("--seconds 2 127.0.0.1:0"));
    receiver.send(frames(1, 3));
    QCOMPARE(receiver.status(), 0);
    const QByteArray out = receiver.readAllStandardOutput();
    QVERIFY2(out.contains("\nsummary") && out.startsWith("127.0.0.1:") && out.contains(": 3 frames, "), out);
}

void TestReceiver::invalidArgumentsAreRefused_data()
{
    const Table<QString> row("arguments");
    for (const char *arguments :
         {"", "--nonsense 5001", "port", "65536", "-1", ":5001", "127.0.0.1:", "no.such.host.invalid:5001",
          "192.0.2.1:5001", "--interface nonsense 239.1.2.3:0", "--interface lo 127.0.0.1:0", "--expect 0 0",
          "--seconds many 0", "--save /nonexistent/file 0", "--save x 0 0"})
        row(*arguments ? arguments : "no argument", arguments);
}

void TestReceiver::invalidArgumentsAreRefused()
{
    QFETCH(const QString, arguments);
    QVERIFY(Program(RECEIVER_PATH, arguments).hasRefusedArguments("receiver"));
}

QTEST_GUILESS_MAIN(TestReceiver)
#include "test_receiver.moc"
