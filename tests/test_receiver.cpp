#include "framesequence.h"
#include "portmonitor.h"
#include "program.h"
#include "replayedframes.h"
#include "table.h"

#include <QTemporaryDir>

#ifdef Q_OS_LINUX
#include <sys/resource.h>
#endif

using namespace simulation;

namespace {

using Datagrams = QList<QByteArray>;

#ifdef Q_OS_WIN
constexpr char duration[] = "--seconds 3 "; // no signal can end a program there
#else
constexpr char duration[] = "";
#endif

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
        : Program(RECEIVER_PATH, QLatin1String(duration) + arguments)
    {
        for (int i = 0; i < ports; ++i) {
            const QByteArray line = nextLine();
            m_ports.append(line.mid(line.lastIndexOf(':') + 1).toUShort());
        }
    }

    /// Sends to the program's port with \a index, which counts from 0 in the order of the arguments.
    void send(const Datagrams &datagrams, int index = 0)
    {
        for (const QByteArray &datagram : datagrams)
            m_sender.writeDatagram(datagram, QHostAddress(QHostAddress::LocalHost), m_ports.at(index));
    }

    /// Ends the program, or waits for its end. Returns the summaries, which cover all datagrams that have
    /// been sent so far.
    QByteArray finish()
    {
#ifndef Q_OS_WIN
        sendSignal(SIGINT);
#endif
        waitForFinished(LimitMs);
        const QByteArray out = readAllStandardOutput().replace("\r\n", "\n");
        return out.mid(out.indexOf("summary of"));
    }

private:
    QUdpSocket m_sender;
    QList<quint16> m_ports;
};

/// Reads the recording \a file. Returns the numbers of its frames; -1 stands for a frame that is not
/// complete.
QList<int> recordedNumbers(const QString &file)
{
    ReplayedFrames replay;
    QString problem;
    QList<int> numbers;
    if (!replay.open(file, {"fr", "6d"}, &problem) || replay.skippedLines() > 0)
        return {-1};
    for (Frame frame; replay.next(&frame);)
        numbers.append(frame.size() == 2 && frame.last().text == "6d 0\r\n" ? frameNumber(frame) : -1);
    return numbers;
}

} // namespace

class TestReceiver : public QObject
{
    Q_OBJECT

private slots:
    void gapsInTheNumbersAreCounted_data();
    void gapsInTheNumbersAreCounted();
    void malformedDatagramIsCounted_data();
    void malformedDatagramIsCounted();
    void summaryJudgesTheDatagrams_data();
    void summaryJudgesTheDatagrams();
    void portsAreJudgedSeparately();
    void recordingEndsAtTheFirstFailedWrite();
    void recordingOfAKilledProgramIsComplete();
    void invalidArgumentsAreRefused();
};

void TestReceiver::gapsInTheNumbersAreCounted_data()
{
    const Table<QList<int>, int, int, int> row("numbers", "lost", "outOfOrder", "restarts");
    row("two frames are missing", {7, 8, 11, 12}, 2, 0, 0);
    row("divisor is recognised", {10, 15, 20, 25}, 0, 0, 0);
    row("divisor is recognised after the gap", {10, 20, 25}, 1, 0, 0);
    row("negative numbers", {-4, -2, 2}, 0, 0, 0);
    row("late frame is not lost", {1, 2, 4, 3, 5}, 0, 1, 0);
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

void TestReceiver::malformedDatagramIsCounted_data()
{
    const Table<QByteArray> row("datagram");
    row("empty datagram", "");
    row("no number", "6d 0\r\n");
    row("number zero", "fr 0\r\n");
    row("last line is cut", "fr 3\r\n6d");
    row("line end without CR", "fr 3\n6d 0\r\n");
    row("line ends only", QByteArray("\r\n").repeated(32000));
    row("binary data", QByteArray("fr 3\r\n6d \0\r\n", 11));
    row("three frames in one", "fr 3\r\nfr 4\r\nfr 5\r\n");
    row("two frames in wrong order", "fr 4\r\nfr 3\r\n");
}

void TestReceiver::malformedDatagramIsCounted()
{
    QFETCH(const QByteArray, datagram);
    PortMonitor monitor({QHostAddress(QHostAddress::LocalHost), 0});
    QString problem;
    QVERIFY2(monitor.listen({}, &problem), qPrintable(problem));
    QSignalSpy wellFormed(&monitor, &PortMonitor::wellFormed);
    QUdpSocket sender;
    const quint16 port = monitor.name().section(':', 1).toUShort();
    for (const QByteArray &text : {QByteArray("fr 1\r\nfr 2\r\n"), datagram})
        QCOMPARE(sender.writeDatagram(text, QHostAddress(QHostAddress::LocalHost), port),
                 qint64(text.size()));
    QTRY_COMPARE(monitor.statistics().datagrams, qint64(2));
    QCOMPARE(monitor.statistics().malformed, qint64(1));
    QCOMPARE(monitor.statistics().lastNumber, 2);
    QCOMPARE(wellFormed.count(), 1);
}

void TestReceiver::summaryJudgesTheDatagrams_data()
{
    const Table<Datagrams, bool, QByteArray, QString> row("datagrams", "isGood", "summary", "options");
    row("no datagram", {}, false, "from nobody: BAD", "");
    row("malformed datagram", frames(1, 2) + Datagrams{"fr 3\r\n6d"}, false, "1 malformed, last number 2,",
        "");
    row("sufficient rate", frames(1, 40), true, ": good", "--expect 1 ");
    row("insufficient rate", frames(1, 2), false, ": BAD", "--expect 100000 ");
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
    QVERIFY2(lines.at(0).startsWith("summary of 127.0.0.1:") && lines.at(0).endsWith(": good"), lines.at(0));
    QVERIFY2(lines.at(1).startsWith("summary of 0.0.0.0:") && lines.at(1).endsWith(": BAD"), lines.at(1));
    QVERIFY2(lines.at(1).contains(" 1 lost, 0 out of order, 0 malformed, last number 8,"), lines.at(1));
    QCOMPARE(receiver.status(), 1);
}

void TestReceiver::recordingEndsAtTheFirstFailedWrite()
{
#ifdef Q_OS_LINUX
    const QTemporaryDir folder;
    const QString file = folder.filePath("frames");
    // A write beyond the limit for the size of files fails, as on a full disk, if this signal is ignored.
    std::signal(SIGXFSZ, SIG_IGN);
    RunningReceiver receiver("--save " + file + " 127.0.0.1:0");
    std::signal(SIGXFSZ, SIG_DFL);
    receiver.send(frames(1, 3));
    QTRY_COMPARE(recordedNumbers(file), (QList<int>{1, 2, 3}));
    rlimit limit{};
    const auto process = pid_t(receiver.processId());
    QCOMPARE(prlimit(process, RLIMIT_FSIZE, nullptr, &limit), 0);
    // Room for one more frame and the start of the next.
    const rlimit full{rlim_t(QFileInfo(file).size() * 3 / 2), limit.rlim_max};
    QCOMPARE(prlimit(process, RLIMIT_FSIZE, &full, nullptr), 0);
    receiver.send(frames(4, 6));
    receiver.setReadChannel(QProcess::StandardError);
    QVERIFY(receiver.nextLine().startsWith("receiver: cannot write '" + file.toLocal8Bit()));
    QCOMPARE(prlimit(process, RLIMIT_FSIZE, &limit, nullptr), 0);
    receiver.send(frames(7, 9));
    const QByteArray out = receiver.finish();
    QVERIFY2(out.contains(": 9 frames,") && out.contains(": BAD\n"), out);
    QCOMPARE(receiver.status(), 2);
    QVERIFY(receiver.readAllStandardError().isEmpty());
    QCOMPARE(recordedNumbers(file), (QList<int>{1, 2, 3, 4}));
#else
    QSKIP("this test limits the size of files as Linux does");
#endif
}

void TestReceiver::recordingOfAKilledProgramIsComplete()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("frames");
    RunningReceiver receiver("--save " + file + " 127.0.0.1:0");
    receiver.send(frames(1, 2));
    QVERIFY(receiver.nextLine().contains(": 2 frames,"));
    receiver.kill();
    receiver.waitForFinished(Program::LimitMs);
    QCOMPARE(recordedNumbers(file), (QList<int>{1, 2}));
}

void TestReceiver::invalidArgumentsAreRefused()
{
    for (const char *arguments : {"", "65536", ":5001", "no.such.host.invalid:5001",
#ifndef Q_OS_WIN // Wine lets a program listen at an address of another computer
                                  "192.0.2.1:5001",
#endif
                                  "--interface nonsense 239.1.2.3:0", "--interface lo 127.0.0.1:0",
                                  "--expect 0 0", "--save /nonexistent/file 0", "--save x 0 0"})
        QVERIFY2(Program(RECEIVER_PATH, arguments).hasRefusedArguments("receiver"), arguments);
}

QTEST_GUILESS_MAIN(TestReceiver)
#include "test_receiver.moc"
