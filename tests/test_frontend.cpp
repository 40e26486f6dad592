#include "cataloguesets.h"
#include "requester.h"
#include "session.h"

#include <QProcess>
#include <QTest>

#include <csignal>

namespace {

constexpr int waitMs = 30000;

/// The stand-in as a process. "MODULE" among the arguments becomes the file of the module.
class Frontend : public QProcess
{
public:
    explicit Frontend(QString arguments, const QByteArray &input = {})
    {
        arguments.replace(QLatin1String("MODULE"), QLatin1String(PLUGIN_PATH));
        start(QLatin1String(FRONTEND_PATH), arguments.split(' '));
        write(input);
        closeWriteChannel();
    }

    /// Its exit status; -1: crashed or did not end.
    int status()
    {
        const bool ended = waitForFinished(waitMs) && exitStatus() == QProcess::NormalExit;
        out = readAllStandardOutput();
        return ended ? exitCode() : -1;
    }

    QByteArray out;
};

class ResetCounter final : public Requester
{
public:
    int onOutputData(const char *, const char *) override { return 0; }
    void onOutputReset() override { ++resets; }
    void onOutputIdle() override {}

    std::atomic<int> resets{0};
};

} // namespace

class TestFrontend : public QObject
{
    Q_OBJECT

private slots:
    void checkerJudges();
    void datagramIsNeverTooLong();
    void wrongUseIsRefused();
    void runIsJudged();
    void signalEndsTheRun();
    void sessionFollowsItsSwitches();
};

void TestFrontend::checkerJudges()
{
    // Through a router or not, divisor, datagrams with LF for CR LF between bars, and what is counted:
    // frames, lost, out of order, malformed, lost in the end.
    const std::tuple<bool, int, QByteArray, QByteArray> cases[] = {
        {false, 1, "fr 1\n|fr 2\n6d 0\n|fr 3\n", "3 0 0 0 5"},
        {false, 4, "fr 4\n|fr 8\n", "2 0 0 0 0"},
        {false, 2, "fr 2\n|fr 8\n", "2 2 0 0 2"},
        {false, 1, "fr 4\n|fr 6\n", "2 3 0 0 6"},
        {false, 1, "fr 1\n|fr 3\n|fr 2\n", "3 1 1 0 6"},
        {false, 1, "fr 1\n|fr 1\n", "2 0 1 0 7"},
        {true, 1, "fr 1\n6d 0\nfr 2\n|fr 3\n", "3 0 0 0 5"},
        {true, 3, "fr 3\n|fr 6\n", "2 0 0 0 1"},
        {true, 1, "fr 1\nfr 2\n|fr 6\n", "3 2 0 0 5"},
        {false, 2, "fr 2\n|fr 3\n", "2 0 0 1 3"},
        {false, 1, "fr 1\n6d 0", "1 0 0 1 7"},
        {false, 1, "fr 1\n6d 0\r\n", "1 0 0 1 7"},
        {false, 1, "fr 1\n3d 0\n", "1 0 0 1 7"},
        {false, 1, "6d 0\n|", "0 0 0 2 8"}};
    for (auto [viaRouter, divisor, datagrams, expected] : cases) {
        FrameLedger ledger;
        FrameChecker checker(ledger);
        checker.expect({{"fr", "6d"}, divisor, true, viaRouter});
        checker.begin();
        for (const int number : {1, 2, 3, 4, 0, 0, 6, 7, 8, 9})
            ledger.note(number);
        const QList<QByteArray> all = datagrams.replace('\n', "\r\n").split('|');
        for (const QByteArray &datagram : all)
            checker.take(datagram);
        const ReceiverStatistics &seen = checker.statistics();
        const qint64 lost = checker.finalStatistics().lost;
        QByteArray counts;
        for (const qint64 count : {seen.frames, seen.lost, seen.outOfOrder, seen.malformed})
            counts += QByteArray::number(count) + ' ';
        QCOMPARE(datagrams + counts + QByteArray::number(lost), datagrams + expected);
        QCOMPARE(checker.isComplete(), lost == seen.lost);
    }
}

void TestFrontend::datagramIsNeverTooLong()
{
    const QByteArray longest(65507 - 8, 'x'); // beside "fr 3" and two line ends
    for (const QByteArray &text : {longest, longest + 'x'})
        QCOMPARE(datagramOf({{"fr", "fr 3"}, {"6d", text}}, {{"fr", "6d"}, 3}).isEmpty(), text != longest);
}

void TestFrontend::wrongUseIsRefused()
{
    const auto uses =
        QString::fromLatin1("--nonsense|stray|--rate 0|--rate 2001|--rate many|--seconds -1|"
                            "--channels 11|--controller-version 1|--replay|"
                            "--headless --plugin /nonexistent/file|--headless --plugin MODULE --replay -|"
                            "--headless --plugin MODULE --replay /nonexistent/file");
    const QStringList all = uses.split('|');
    for (const QString &arguments : all) {
        Frontend frontend(arguments, QByteArray("fr 1\n\0\n", 7));
        QVERIFY2(frontend.status() == 2 && frontend.out.isEmpty(), qPrintable(arguments));
        QVERIFY2(frontend.readAllStandardError().count("frontend: ") == 1, qPrintable(arguments));
    }
}

void TestFrontend::runIsJudged()
{
    QByteArray recording;
    for (const int number : {1000, 1001, 1005, 1010, 1012, 1014, 1015})
        recording += "fr " + QByteArray::number(number) + "\r\n6d 0\n\n3d 0\n6df2 0\r\nold 1\n";
    for (const char *arguments :
         {"--seconds 1 --rate 200 --channels 10", "--seconds 1 --rate 500 --channels 10 --router",
          "--seconds 1 --controller-version 1.5 --router --locked", "--replay -", "--replay - --router"}) {
        Frontend frontend(QLatin1String("--headless --plugin MODULE ") + arguments, recording);
        const int status = frontend.status();
        QVERIFY2(status == 0 && !frontend.out.contains(": BAD\n"), frontend.out.constData());
        QCOMPARE(frontend.out.contains("14 recorded lines skipped"),
                 QByteArray(arguments).contains("replay"));
    }
    // The divisor of one channel lets no frame pass.
    Frontend frontend(QLatin1String("--headless --plugin MODULE --replay -"), "fr 1\n6d 0\nfr 2\n6d 0\n");
    QCOMPARE(frontend.status(), 1);
    QVERIFY(frontend.out.count(": good\n") == 2 && frontend.out.count(": BAD\n") == 1);
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

void TestFrontend::sessionFollowsItsSwitches()
{
    QStringList remarks;
    QString problem;
    Session session(Options{});
    ResetCounter requester;
    session.link().addRequester(&requester);
    QVERIFY2(session.setUp(&remarks, &problem), qPrintable(problem));
    session.start();
    const auto received = [&] { return session.receivers().reports().value(0).statistics.frames; };
    session.setRate(1); // which would take half an hour
    session.setRate(maximumRate);
    QTRY_VERIFY_WITH_TIMEOUT(received() > 1500, waitMs);

    session.setPaused(true);
    qint64 frames = 0;
    // Resets are told on the data thread, which then has no frame under way.
    for (const int resets : {2, 3}) {
        session.resetOutput();
        QTRY_COMPARE_WITH_TIMEOUT(requester.resets, resets, waitMs);
        QVERIFY(frames == 0 || frames == session.frames());
        frames = session.frames();
    }
    session.setPaused(false);

    const auto useTypes = [&](const QList<OutputType> &types) {
        session.controller().change([&](ControllerState &state) { state.catalogue = types; });
        const qint64 before = session.frames();
        QTRY_VERIFY_WITH_TIMEOUT(session.frames() > before + 100, waitMs);
    };
    useTypes({});
    const qint64 before = received();
    useTypes(catalogueSets().first().types);
    QTRY_VERIFY_WITH_TIMEOUT(received() > before, waitMs);
    QVERIFY(session.setChannelCount(1, &problem));
    QCOMPARE(session.receivers().reports().size(), 1);
    session.stop();
    QCOMPARE(session.receivers().finalReports().value(0).statistics.lost, qint64(0));
}

QTEST_GUILESS_MAIN(TestFrontend)
#include "test_frontend.moc"
