#include "directoutput.h"
#include "framechecker.h"
#include "frameledger.h"
#include "replayedframes.h"

#include <QProcess>
#include <QTemporaryFile>
#include <QTest>

#include <csignal>

namespace {

constexpr int waitMs = 30000;

/// The stand-in as a process. "MODULE" among the arguments becomes the file of the module.
class Frontend : public QProcess
{
public:
    explicit Frontend(const QString &arguments, const QByteArray &input = {})
    {
        QStringList list = arguments.split(' ');
        list.replaceInStrings(QLatin1String("MODULE"), QLatin1String(PLUGIN_PATH));
        start(QLatin1String(FRONTEND_PATH), list);
        write(input);
        closeWriteChannel();
    }

    /// Its exit status; -1: crashed or did not end.
    int status()
    {
        const bool ended = waitForFinished(waitMs) && exitStatus() == QProcess::NormalExit;
        out = readAllStandardOutput();
        complaints = readAllStandardError().count("frontend: ");
        return ended ? exitCode() : -1;
    }

    QByteArray out;
    int complaints = 0;
};

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
    void runIsJudged_data();
    void runIsJudged();
    void signalEndsTheRun();
};

void TestFrontend::checkerJudges_data()
{
    QTest::addColumn<bool>("viaRouter");
    QTest::addColumn<int>("divisor");
    QTest::addColumn<QList<QByteArray>>("datagrams");
    QTest::addColumn<QList<qint64>>("counts");

    // Frames, lost, out of order, malformed.
    const auto row = [](const char *name, bool viaRouter, int divisor, const QList<QByteArray> &datagrams,
                        const QList<qint64> &counts) {
        QTest::newRow(name) << viaRouter << divisor << datagrams << counts;
    };
    row("steady", false, 1, {"fr 1\r\n", "fr 2\r\n6d 0\r\n", "fr 3\r\n"}, {3, 0, 0, 0});
    row("first missing", false, 1, {"fr 2\r\n"}, {1, 1, 0, 0});
    row("gap", false, 2, {"fr 2\r\n", "fr 8\r\n"}, {2, 2, 0, 0});
    row("swapped", false, 1, {"fr 1\r\n", "fr 3\r\n", "fr 2\r\n"}, {3, 1, 1, 0});
    row("twice", false, 1, {"fr 1\r\n", "fr 1\r\n"}, {2, 0, 1, 0});
    row("router's first two", true, 1, {"fr 1\r\n6d 0\r\nfr 2\r\n6d 0\r\n", "fr 3\r\n"}, {3, 0, 0, 0});
    row("router, second forbids", true, 3, {"fr 3\r\n", "fr 6\r\n"}, {2, 0, 0, 0});
    row("router, gap", true, 1, {"fr 1\r\nfr 2\r\n", "fr 5\r\n"}, {3, 2, 0, 0});
    row("not due", false, 2, {"fr 2\r\n", "fr 3\r\n"}, {2, 0, 0, 1});
    row("no line end", false, 1, {"fr 1\r\n6d 0"}, {1, 0, 0, 1});
    row("CR inside", false, 1, {"fr 1\r\n6d 0\r\r\n"}, {1, 0, 0, 1});
    row("type not ticked", false, 1, {"fr 1\r\n3d 0\r\n"}, {1, 0, 0, 1});
    row("no number", false, 1, {"6d 0\r\n", ""}, {0, 0, 0, 2});
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
    const ReceiverStatistics &seen = checker.statistics();
    QTEST((QList<qint64>{seen.frames, seen.lost, seen.outOfOrder, seen.malformed}), "counts");
}

void TestFrontend::checkerCountsMissingEnd()
{
    FrameLedger ledger;
    FrameChecker checker(ledger);
    checker.expect({{"fr"}, 2, true, false});
    checker.begin();
    for (int number = 1; number <= 9; ++number)
        ledger.note(number);
    QCOMPARE(checker.finalStatistics().lost, qint64(4));
    for (const char *datagram : {"fr 2\r\n", "fr 4\r\n", "fr 6\r\n"})
        checker.take(datagram);
    QVERIFY(!checker.isComplete());
    QCOMPARE(checker.finalStatistics().lost, qint64(1));
    checker.take("fr 8\r\n");
    QVERIFY(checker.isComplete());
    QCOMPARE(checker.finalStatistics().lost, qint64(0));
}

void TestFrontend::ledgerCountsDueFrames()
{
    FrameLedger ledger;
    for (const qint32 number : {-3, -2, -1, 0, 1, 2, 100, 101, 102, 110})
        ledger.note(number);
    QCOMPARE(ledger.dueBetween(-1000, 1000, 1), qint64(9));
    QCOMPARE(ledger.dueBetween(-1000, 1000, 2), qint64(5));
    QCOMPARE(ledger.dueBetween(100, 109, 1), qint64(2));
}

void TestFrontend::datagramHoldsTickedLines()
{
    const Frame frame{{"fr", "fr 6\r\n"}, {"6d", "6d 1\n\r\r\n"}, {"3d", "3d 2"}};
    QCOMPARE(datagramOf(frame, {{"fr", "6d"}, 3, true, false}), QByteArray("fr 6\r\n6d 1\r\n"));
    QVERIFY(datagramOf(frame, {{"fr", "3d"}, 4, true, false}).isEmpty());
    QVERIFY(datagramOf(frame, {{"3d"}, 1, true, false}).isEmpty());
    QVERIFY(datagramOf({{"fr", "fr 0\r\n"}}, {{"fr"}, 1, true, false}).isEmpty());
    const QByteArray longest(65507 - 8, 'x'); // beside "fr 1" and two line ends
    const Expectation both{{"fr", "6d"}, 1, true, false};
    QCOMPARE(datagramOf({{"fr", "fr 1"}, {"6d", longest}}, both).size(), 65507);
    QVERIFY(datagramOf({{"fr", "fr 1"}, {"6d", longest + 'x'}}, both).isEmpty());
}

void TestFrontend::recordingIsCutIntoFrames()
{
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write("fr 7\r\n6d 1\n\nnote about it\nfr 8\n6d 2\n3d 1\r\nfr 9");
    file.close();
    ReplayedFrames frames;
    QString problem;
    QVERIFY2(frames.open(file.fileName(), {"fr", "6d", "3d"}, &problem), qPrintable(problem));
    QCOMPARE(frames.skippedLines(), 2);
    QList<QByteArray> seen;
    for (Frame frame; frames.next(&frame);) {
        seen.append(QByteArray());
        for (const DataLine &line : qAsConst(frame))
            seen.last() += line.text;
    }
    QCOMPARE(seen, QList<QByteArray>({"fr 7\r\n6d 1\r\n", "fr 8\r\n6d 2\r\n3d 1\r\n", "fr 9\r\n"}));
}

void TestFrontend::wrongUseIsRefused_data()
{
    QTest::addColumn<QByteArray>("input");
    for (const char *arguments :
         {"--nonsense", "stray", "--rate 0", "--rate 2001", "--rate many", "--seconds -1", "--channels 11",
          "--controller-version 1", "--replay", "--headless --plugin /nonexistent/file",
          "--headless --plugin MODULE --replay /nonexistent/file"})
        QTest::newRow(arguments) << QByteArray();
    QTest::newRow("--headless --plugin MODULE --replay -") << QByteArray("alpha 1\nbeta 2\n");
    QTest::newRow("--headless --replay - --plugin MODULE") << QByteArray("fr 1\n\0\n", 7);
}

void TestFrontend::wrongUseIsRefused()
{
    QFETCH(QByteArray, input);
    Frontend frontend(QTest::currentDataTag(), input);
    QCOMPARE(frontend.status(), 2);
    QCOMPARE(frontend.complaints, 1);
    QVERIFY(frontend.out.isEmpty());
}

void TestFrontend::runIsJudged_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("good");
    QTest::addColumn<int>("bad");

    QByteArray recording;
    for (const int number : {1000, 1001, 1005, 1010, 1012, 1014, 1015})
        recording += "fr " + QByteArray::number(number) + "\n6d 0\n3d 0\n6df2 0\nold 1\n";
    QTest::newRow("--seconds 1 --rate 200 --channels 10") << QByteArray() << 10 << 0;
    QTest::newRow("--seconds 1 --rate 500 --channels 10 --router") << QByteArray() << 10 << 0;
    QTest::newRow("--seconds 1 --controller-version 1.5 --router --locked") << QByteArray() << 3 << 0;
    QTest::newRow("--seconds 0 --replay -") << recording << 3 << 0;
    QTest::newRow("--seconds 0 --replay - --router") << recording << 3 << 0;
    // The divisor of one channel lets no frame pass.
    QTest::newRow("--replay -") << QByteArray("fr 1\n6d 0\nfr 2\n6d 0\n") << 2 << 1;
}

void TestFrontend::runIsJudged()
{
    QFETCH(QByteArray, input);
    QFETCH(int, bad);
    Frontend frontend(QLatin1String("--headless --plugin MODULE ") + QTest::currentDataTag(), input);
    const int status = frontend.status();
    QVERIFY2(status == (bad == 0 ? 0 : 1), frontend.out.constData());
    QTEST(frontend.out.count(": good\n"), "good");
    QCOMPARE(frontend.out.count(": BAD\n"), bad);
    QCOMPARE(frontend.out.contains("7 recorded lines skipped"), input.contains("old"));
}

void TestFrontend::signalEndsTheRun()
{
    for (const int number : {SIGINT, SIGTERM}) {
        Frontend frontend(QLatin1String("--headless --plugin MODULE --seconds 0 --router"));
        // The first progress line tells that frames have come for a second.
        QVERIFY(frontend.waitForReadyRead(waitMs));
        QCOMPARE(::kill(pid_t(frontend.processId()), number), 0);
        QCOMPARE(frontend.status(), 0);
        QVERIFY(frontend.out.contains("summary: "));
    }
}

QTEST_GUILESS_MAIN(TestFrontend)
#include "test_frontend.moc"
