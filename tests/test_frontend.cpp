// Tests the programs frontend and controller, and the session of the frontend.

#include "controlleroptions.h"
#include "presets.h"
#include "runningcontroller.h"
#include "session.h"

#include <QTemporaryDir>
#include <QUdpSocket>

#include <sys/stat.h>

using namespace simulation;

namespace {

constexpr int waitMs = Program::LimitMs;
const QByteArray headless = "--headless --plugin " PLUGIN_PATH " ";

/// A session with an embedded Controller and its three channels.
class StartedSession : public Session
{
public:
    explicit StartedSession(const Options &options = {})
        : Session(options)
    {
        QStringList remarks;
        QString problem;
        if (!openSource(&problem) || !setUp(&remarks, &problem))
            qFatal("%s", qPrintable(problem));
        start();
    }
    ~StartedSession() override { stop(); }

    /// Returns the counts of channel 1.
    ReceiverStatistics first() { return receivers().reports().at(0).statistics; }
};

} // namespace

class TestFrontend : public QObject
{
    Q_OBJECT

private slots:
    void invalidArgumentsAreRefused();
    void controllerRefusesInvalidArguments();
    void interruptEndsAProgramThatReadsAPipe();
    void headlessRunReportsWhetherAllFramesArrived();
    void channelsOfARemoteControllerGetTheirFrames();
    void changedDivisorOfTheModuleIsNoLoss();
    void channelWithANameIsLookedUp();
    void sessionAppliesChangesWhileItRuns();
};

/// The options that the programs share are refused by the same code.
void TestFrontend::invalidArgumentsAreRefused()
{
    for (const QByteArray &arguments :
         {QByteArray("stray"), QByteArray("--seconds -1"), QByteArray("--replay"),
          QByteArray("--headless --plugin /nonexistent/file"), headless + "--replay -",
          headless + "--replay /nonexistent/file", headless + "--controller 127.0.0.1",
          headless + "--controller 127.0.0.1:1 --rate 100", headless + "--controller 127.0.0.1:1"}) {
        // The recording is not a text file. No program listens on port 1.
        Program frontend(FRONTEND_PATH, arguments, QByteArray("fr 1\n\0\n", 7));
        QVERIFY2(frontend.hasRefusedArguments("frontend"), arguments);
    }
}

void TestFrontend::controllerRefusesInvalidArguments()
{
    for (const char *arguments :
         {"--nonsense", "stray", "--port 65536", "--port 65535", "--rate 0", "--rate 2001", "--channels 11",
          "--controller-version 1", "--seconds many", "--address=", "--address nowhere"})
        QVERIFY2(Program(CONTROLLER_PATH, arguments).hasRefusedArguments("controller"), arguments);
}

/// While a program reads its recording, it runs no event loop.
void TestFrontend::interruptEndsAProgramThatReadsAPipe()
{
    const QTemporaryDir folder;
    const QByteArray pipe = folder.filePath("pipe").toLocal8Bit();
    QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
    for (const auto &[path, options] :
         {std::pair(CONTROLLER_PATH, QByteArray("--port 0")), std::pair(FRONTEND_PATH, headless)}) {
        Program program(path, options + " --replay " + pipe);
        // The pipe can be opened for writing only when the program has opened it for reading.
        QFile writer(pipe);
        QVERIFY(writer.open(QIODevice::WriteOnly));
        program.sendSignal(SIGINT);
        QVERIFY(program.waitForFinished(Program::LimitMs));
    }
}

void TestFrontend::headlessRunReportsWhetherAllFramesArrived()
{
    // Two lines of each frame are skipped: the empty one and the one of an unknown type.
    QByteArray recording;
    for (const int number : {1000, 1001, 1005, 1010, 1012, 1014, 1015})
        recording += "fr " + QByteArray::number(number) + "\r\n6d 0\n\n3d\n6df2 0\r\nold 1\n";
    for (const char *arguments :
         {"--seconds 1 --rate 200 --channels 10", "--seconds 1 --rate 500 --channels 10 --router",
          "--seconds 1 --controller-version 1.5 --router --locked", "--replay -", "--replay - --router"}) {
        Program frontend(FRONTEND_PATH, headless + arguments, recording);
        const int status = frontend.status();
        const QByteArray out = frontend.readAllStandardOutput();
        QVERIFY2(status == 0 && !out.contains(": BAD\n"), out);
        QCOMPARE(out.contains("14 recorded lines skipped"), QByteArray(arguments).contains("replay"));
    }
    // Channel 3 receives nothing, because its divisor is 5.
    Program frontend(FRONTEND_PATH, headless + "--replay -", "fr 1\n6d 0\nfr 2\n6d 0\n");
    QCOMPARE(frontend.status(), 1);
    const QByteArray out = frontend.readAllStandardOutput();
    QVERIFY2(out.count(": good\n") == 2 && out.count(": BAD\n") == 1, out);
}

void TestFrontend::sessionAppliesChangesWhileItRuns()
{
    StartedSession session;
    session.setRate(1); // at this rate the frames below would take 25 minutes
    session.setRate(maximumRate);
    QTRY_VERIFY_WITH_TIMEOUT(session.first().frames > 1500, waitMs);

    session.controller().change([](ControllerState &state) { state.catalogue = {}; });
    qint64 before = session.frames();
    QTRY_VERIFY_WITH_TIMEOUT(session.frames() > before + 100, waitMs);
    session.controller().change([](ControllerState &state) { state.catalogue = catalogues().first().types; });
    before = session.first().frames;
    QTRY_VERIFY_WITH_TIMEOUT(session.first().frames > before, waitMs);

    QString problem;
    QVERIFY(session.setChannelCount(1, &problem));
    QCOMPARE(session.receivers().reports().size(), 1);
    session.stop();
    QCOMPARE(session.receivers().reports(true).value(0).statistics.lost, qint64(0));
}

/// The module may send with another divisor than the Controller's while its dialog is open, and after the
/// Controller has refused the new divisor.
void TestFrontend::changedDivisorOfTheModuleIsNoLoss()
{
    Options options;
    options.simulated.router = true;
    options.simulated.rate = maximumRate;
    StartedSession session(options);
    const quint16 port = quint16(session.controller().state().channels[0].destination.port);
    const QHostAddress address(QString::fromLatin1(session.controller().state().monitorAddress));
    QTRY_VERIFY_WITH_TIMEOUT(session.frames() > 100, waitMs);
    QUdpSocket module;
    qint64 sent = 0;
    const auto lostAfter = [&](const QList<int> &numbers) {
        for (const int number : numbers)
            module.writeDatagram("fr " + QByteArray::number(number) + "\r\n", address, port);
        sent += numbers.size();
        const bool hasCome = QTest::qWaitFor([&] { return session.first().frames == sent; }, waitMs);
        return hasCome && session.first().malformed == 0 ? session.first().lost : qint64(-1);
    };
    QCOMPARE(lostAfter({2, 3}), qint64(0));
    session.setDialogOpen(true);
    QCOMPARE(lostAfter({5, 10, 15}), qint64(0));
    session.controller().setFault(commandKindOf(true, "output net_divisor ch01 5"), Fault::FailNext);
    QVERIFY(session.link().setValue("output net_divisor ch%02d %d", 1, 5) != 0);
    session.setDialogOpen(false);
    QCOMPARE(lostAfter({20, 25, 30}), qint64(0));
    // The next opening reads the Controller's divisor back, which is 1.
    int divisor = 0;
    QVERIFY(session.link().getIntValue(&divisor, "output net_divisor ch%02d", 1) == 0 && divisor == 1);
    QCOMPARE(lostAfter({31, 32, 35}), qint64(2));
}

void TestFrontend::channelWithANameIsLookedUp()
{
#ifdef __SANITIZE_THREAD__
    QSKIP("ThreadSanitizer does not see the locks under which a thread of QHostInfo hands over its answer");
#endif
    Session session(Options{});
    session.controller().change([](ControllerState &state) {
        state.channels[0].destination = {Destination::Kind::Udp, "no.such.name.invalid", 5001};
        state.channels[1].destination = {Destination::Kind::Udp, "localhost", 5001};
    });
    QCOMPARE(session.receivers().reports().size(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(session.receivers().reports().size(), 1, waitMs);
    QCOMPARE(session.receivers().reports().at(0).channel, 2);
}

void TestFrontend::channelsOfARemoteControllerGetTheirFrames()
{
    for (const char *mode : {"", " --router"}) {
        const RunningController server(QLatin1String("--port 0 --rate 200 --channels 2") +
                                       QLatin1String(mode));
        Program frontend(FRONTEND_PATH, headless + "--seconds 2 --controller 127.0.0.1:" +
                                            QByteArray::number(server.commandPort));
        const int status = frontend.status();
        const QByteArray out = frontend.readAllStandardOutput();
        QVERIFY2(status == 0 && out.count(": good\n") == 2, out + frontend.readAllStandardError());
    }
}

QTEST_GUILESS_MAIN(TestFrontend)
#include "test_frontend.moc"
