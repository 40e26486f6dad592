#include "directoutput.h"
#include "framechecker.h"
#include "frameledger.h"
#include "replayedframes.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <limits>

namespace {

constexpr int WaitMs = 30000;

struct Outcome
{
    int status = -1; ///< -1: crashed or did not end
    QString out;
    QStringList complaints;
};

Outcome outcomeOf(QProcess &process)
{
    Outcome outcome;
    if (process.waitForFinished(WaitMs) && process.exitStatus() == QProcess::NormalExit)
        outcome.status = process.exitCode();
    outcome.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    const QStringList lines = QString::fromLocal8Bit(process.readAllStandardError()).split('\n');
    outcome.complaints = lines.filter(QLatin1String("frontend: "));
    return outcome;
}

void start(QProcess &process, const QStringList &arguments)
{
    process.start(QLatin1String(FRONTEND_PATH), arguments);
}

QStringList headless(const QStringList &arguments)
{
    return QStringList({QLatin1String("--headless"), QLatin1String("--plugin"), QLatin1String(PLUGIN_PATH)}) +
           arguments;
}

QString written(const QTemporaryDir &folder, const QByteArray &content)
{
    QFile file(folder.filePath(QLatin1String("recording.txt")));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return {};
    return file.fileName();
}

} // namespace

class TestFrontend : public QObject
{
    Q_OBJECT

private slots:
    void checkerJudges_data();
    void checkerJudges();
    void checkerCountsMissingEnd();
    void ledgerCountsDueFrames();
    void datagramHoldsTickedLines();
    void recordingIsCutIntoFrames();
    void wrongUseIsRefused_data();
    void wrongUseIsRefused();
    void unusableRecordingIsRefused_data();
    void unusableRecordingIsRefused();
    void headlessRunIsGood_data();
    void headlessRunIsGood();
    void lateChannelFailsTheRun();
    void signalEndsTheRun();
};

void TestFrontend::checkerJudges_data()
{
    QTest::addColumn<bool>("viaRouter");
    QTest::addColumn<int>("divisor");
    QTest::addColumn<QList<QByteArray>>("datagrams");
    QTest::addColumn<int>("frames");
    QTest::addColumn<int>("lost");
    QTest::addColumn<int>("outOfOrder");
    QTest::addColumn<int>("malformed");

    const auto row = [](const char *name, bool viaRouter, int divisor, const QList<QByteArray> &datagrams,
                        int frames, int lost, int outOfOrder, int malformed) {
        QTest::newRow(name) << viaRouter << divisor << datagrams << frames << lost << outOfOrder << malformed;
    };
    row("steady", false, 1, {"fr 1\r\n", "fr 2\r\n6d 0\r\n", "fr 3\r\n"}, 3, 0, 0, 0);
    row("divisor", false, 2, {"fr 2\r\n", "fr 4\r\n", "fr 6\r\n"}, 3, 0, 0, 0);
    row("first missing", false, 1, {"fr 2\r\n"}, 1, 1, 0, 0);
    row("gap", false, 2, {"fr 2\r\n", "fr 8\r\n"}, 2, 2, 0, 0);
    row("swapped", false, 1, {"fr 1\r\n", "fr 3\r\n", "fr 2\r\n"}, 3, 1, 1, 0);
    row("twice", false, 1, {"fr 1\r\n", "fr 1\r\n"}, 2, 0, 1, 0);
    row("router's first two", true, 1, {"fr 1\r\n6d 0\r\nfr 2\r\n6d 0\r\n", "fr 3\r\n"}, 3, 0, 0, 0);
    row("router, second forbids", true, 3, {"fr 3\r\n", "fr 6\r\n"}, 2, 0, 0, 0);
    row("router, second due", true, 2, {"fr 1\r\nfr 2\r\n", "fr 4\r\n"}, 3, 0, 0, 0);
    row("router, gap", true, 1, {"fr 1\r\nfr 2\r\n", "fr 5\r\n"}, 3, 2, 0, 0);
    row("not due", false, 2, {"fr 2\r\n", "fr 3\r\n"}, 2, 0, 0, 1);
    row("LF alone", false, 1, {"fr 1\n"}, 1, 0, 0, 1);
    row("no line end", false, 1, {"fr 1\r\n6d 0"}, 1, 0, 0, 1);
    row("empty line", false, 1, {"fr 1\r\n\r\n6d 0\r\n"}, 1, 0, 0, 1);
    row("CR inside", false, 1, {"fr 1\r\n6d 0\r\r\n"}, 1, 0, 0, 1);
    row("type not ticked", false, 1, {"fr 1\r\n3d 0\r\n"}, 1, 0, 0, 1);
    row("no number", false, 1, {"6d 0\r\n", ""}, 0, 0, 0, 2);
}

void TestFrontend::checkerJudges()
{
    QFETCH(bool, viaRouter);
    QFETCH(int, divisor);
    QFETCH(QList<QByteArray>, datagrams);
    FrameLedger ledger;
    FrameChecker checker(ledger);
    checker.expect({{"fr", "6d"}, divisor, true, viaRouter});
    checker.begin();
    for (int number = 1; number <= 100; ++number)
        ledger.note(number);
    for (const QByteArray &datagram : qAsConst(datagrams))
        checker.take(datagram);
    const ReceiverStatistics &statistics = checker.statistics();
    QTEST(int(statistics.frames), "frames");
    QTEST(int(statistics.lost), "lost");
    QTEST(int(statistics.outOfOrder), "outOfOrder");
    QTEST(int(statistics.malformed), "malformed");
}

void TestFrontend::checkerCountsMissingEnd()
{
    FrameLedger ledger;
    FrameChecker checker(ledger);
    checker.expect({{"fr"}, 2, true, false});
    checker.begin();
    for (int number = 1; number <= 9; ++number)
        ledger.note(number);
    QVERIFY(!checker.isComplete());
    QCOMPARE(checker.finalStatistics().lost, qint64(4));
    for (const char *datagram : {"fr 2\r\n", "fr 4\r\n", "fr 6\r\n"})
        checker.take(datagram);
    QCOMPARE(checker.finalStatistics().lost, qint64(1));
    checker.take("fr 8\r\n");
    QVERIFY(checker.isComplete());
    QCOMPARE(checker.finalStatistics().lost, qint64(0));

    // Whoever joins later does not miss what was before.
    for (int number = 10; number <= 20; ++number)
        ledger.note(number);
    checker.join();
    checker.take("fr 20\r\n");
    QCOMPARE(checker.statistics().lost, qint64(0));
}

void TestFrontend::ledgerCountsDueFrames()
{
    constexpr qint64 Far = std::numeric_limits<qint32>::max();
    FrameLedger ledger;
    for (const qint32 number : {-3, -2, -1, 0, 1, 2, 100, 101, 102, 110})
        ledger.note(number);
    QCOMPARE(ledger.frames(), qint64(10));
    QCOMPARE(ledger.dueBetween(-Far, Far, 1), qint64(9));
    QCOMPARE(ledger.dueBetween(-Far, Far, 2), qint64(5));
    QCOMPARE(ledger.dueBetween(0, Far, 5), qint64(2));
    QCOMPARE(ledger.dueBetween(100, 102, 1), qint64(2));
    QCOMPARE(ledger.dueBetween(102, 109, 1), qint64(0));
}

void TestFrontend::datagramHoldsTickedLines()
{
    const Frame frame{{"fr", "fr 6\r\n"}, {"6d", "6d 1\n\r\r\n"}, {"3d", "3d 2"}};
    QCOMPARE(datagramOf(frame, {{"fr", "3d", "6d"}, 3, true, false}), QByteArray("fr 6\r\n6d 1\r\n3d 2\r\n"));
    QCOMPARE(datagramOf(frame, {{"fr", "3d"}, 1, true, false}), QByteArray("fr 6\r\n3d 2\r\n"));
    QVERIFY(datagramOf(frame, {{"fr", "3d"}, 4, true, false}).isEmpty());
    QVERIFY(datagramOf(frame, {{"3d"}, 1, true, false}).isEmpty());
    QVERIFY(datagramOf({{"fr", "fr 0\r\n"}}, {{"fr"}, 1, true, false}).isEmpty());
    QVERIFY(datagramOf({{"fr", "fr 99999999999\r\n"}}, {{"fr"}, 1, true, false}).isEmpty());
    const Expectation both{{"fr", "6d"}, 1, true, false};
    const int most = 65507 - int(qstrlen("fr 1\r\n")) - int(qstrlen("\r\n"));
    QCOMPARE(datagramOf({{"fr", "fr 1"}, {"6d", QByteArray(most, 'x')}}, both).size(), 65507);
    QVERIFY(datagramOf({{"fr", "fr 1"}, {"6d", QByteArray(most + 1, 'x')}}, both).isEmpty());
}

void TestFrontend::recordingIsCutIntoFrames()
{
    const QTemporaryDir folder;
    const QString name = written(folder, "fr 7\r\n6d 1\n\nnote about it\nfr 8\n6d 2\n3d 1\r\nfr 9");
    ReplayedFrames frames;
    QString problem;
    QVERIFY2(frames.open(name, {"fr", "6d", "3d"}, &problem), qPrintable(problem));
    QCOMPARE(frames.skippedLines(), 2);
    QVector<qint32> numbers;
    QList<int> lengths;
    for (Frame frame = frames.next(); !frame.isEmpty(); frame = frames.next()) {
        numbers.append(frameNumber(frame));
        lengths.append(frame.size());
        QVERIFY(frame.last().text.endsWith("\r\n"));
    }
    QCOMPARE(numbers, QVector<qint32>({7, 8, 9}));
    QCOMPARE(lengths, QList<int>({2, 3, 1}));
}

void TestFrontend::wrongUseIsRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    const auto row = [](const char *arguments) {
        QTest::newRow(arguments) << QString::fromLatin1(arguments).split(' ');
    };
    row("--nonsense");
    row("stray");
    row("--rate 0");
    row("--rate 2001");
    row("--rate many");
    row("--seconds -1");
    row("--channels 0");
    row("--channels 11");
    row("--controller-version 1");
    row("--controller-version 1.9.x");
    row("--replay");
    row("--headless --plugin /nonexistent/file");
    row("--headless --plugin " FRONTEND_PATH);
    row("--headless --replay /nonexistent/file --plugin " PLUGIN_PATH);
}

void TestFrontend::wrongUseIsRefused()
{
    QFETCH(QStringList, arguments);
    QProcess process;
    start(process, arguments);
    const Outcome outcome = outcomeOf(process);
    QCOMPARE(outcome.status, 2);
    QCOMPARE(outcome.complaints.size(), 1);
    QVERIFY(outcome.out.isEmpty());
}

void TestFrontend::unusableRecordingIsRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("binary") << QByteArray("fr 1\n\0\n", 7);
    QTest::newRow("unknown types") << QByteArray("alpha 1\nbeta 2\n");
}

void TestFrontend::unusableRecordingIsRefused()
{
    QFETCH(QByteArray, content);
    const QTemporaryDir folder;
    QProcess process;
    start(process, headless({QLatin1String("--replay"), written(folder, content)}));
    const Outcome outcome = outcomeOf(process);
    QCOMPARE(outcome.status, 2);
    QCOMPARE(outcome.complaints.size(), 1);
}

void TestFrontend::headlessRunIsGood_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("channels");
    const auto row = [](const char *arguments, int channels, const QByteArray &input = {}) {
        QTest::newRow(arguments) << QString::fromLatin1(arguments).split(' ') << input << channels;
    };
    QByteArray recording;
    for (const int number : {1001, 1002, 1005, 1010, 1012, 1014, 1015})
        recording += "fr " + QByteArray::number(number) + "\n6d 0\n3d 0\n6df2 0\nold 1\n";
    row("--seconds 1 --rate 200", 3);
    row("--seconds 1 --rate 200 --router", 3);
    row("--seconds 1 --rate 500 --channels 10 --router", 10);
    row("--seconds 1 --controller-version 1.5 --router --locked", 3);
    row("--seconds 0 --replay -", 3, recording);
    row("--seconds 0 --replay - --router", 3, recording);
}

void TestFrontend::headlessRunIsGood()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, input);
    QFETCH(int, channels);
    QProcess process;
    start(process, headless(arguments));
    process.write(input);
    process.closeWriteChannel();
    const Outcome outcome = outcomeOf(process);
    QVERIFY2(outcome.status == 0, qPrintable(outcome.out + outcome.complaints.join('\n')));
    QCOMPARE(outcome.out.count(QLatin1String(": good\n")), channels);
    QCOMPARE(outcome.out.contains(QLatin1String("7 recorded lines skipped")), !input.isEmpty());
}

/// One channel has a divisor that no frame of this short recording passes.
void TestFrontend::lateChannelFailsTheRun()
{
    const QTemporaryDir folder;
    const QString name = written(folder, "fr 1\n6d 0\nfr 2\n6d 0\n");
    QProcess process;
    start(process, headless({QLatin1String("--replay"), name}));
    const Outcome outcome = outcomeOf(process);
    QCOMPARE(outcome.status, 1);
    QCOMPARE(outcome.out.count(QLatin1String(": good\n")), 2);
    QCOMPARE(outcome.out.count(QLatin1String(": BAD\n")), 1);
}

void TestFrontend::signalEndsTheRun()
{
    for (const int number : {SIGINT, SIGTERM}) {
        QProcess process;
        start(process, headless({QLatin1String("--seconds"), QLatin1String("0"), QLatin1String("--router")}));
        // The first progress line tells that frames have come for a second.
        QVERIFY(process.waitForReadyRead(WaitMs));
        QCOMPARE(::kill(pid_t(process.processId()), number), 0);
        const Outcome outcome = outcomeOf(process);
        QVERIFY2(outcome.status == 0, qPrintable(outcome.out));
        QVERIFY(outcome.out.contains(QLatin1String("summary: ")));
    }
}

QTEST_GUILESS_MAIN(TestFrontend)
#include "test_frontend.moc"
