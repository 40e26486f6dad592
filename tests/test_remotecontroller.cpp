// Tests the host's connections to a Controller on the network.

#include "dataclient.h"
#include "remotecontroller.h"
#include "runningcontroller.h"
#include "waiting.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTemporaryFile>

#include <memory>

using namespace simulation;

namespace {

constexpr int waitMs = Program::LimitMs;
const QString localHost = QLatin1String("127.0.0.1");
constexpr char greeting[] = "ok version 1.9.0 data 9\n";

/// Records the data of a DataClient.
class RecordingSink : public FrameSink
{
public:
    void takeFrame(const Frame &frame) override
    {
        QByteArray text;
        for (const DataLine &line : frame)
            text += line.text;
        keep(text);
    }
    void takeReset() override { keep("reset"); }
    void takeIdle() override { keep("idle"); }

    /// Returns the texts of the frames, "reset" and "idle" in the order of their arrival.
    QList<QByteArray> events() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return {m_events.begin(), m_events.end()};
    }

private:
    void keep(const QByteArray &event)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(event);
    }

    mutable std::mutex m_mutex;
    // Not a QList, whose shared data are freed in Qt's library. That library is not instrumented, so
    // ThreadSanitizer would not see that the accesses to these data are synchronised.
    std::vector<QByteArray> m_events;
};

/// Sends all of \a text.
void sendAll(QTcpSocket &socket, const QByteArray &text)
{
    socket.write(text);
    while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten(waitMs)) {
    }
}

/// Takes the place of a Controller: the test sends the lines.
class TestServer : public QTcpServer
{
public:
    TestServer() { listen(QHostAddress::LocalHost); }

    /// Waits for the next connection.
    std::unique_ptr<QTcpSocket> next()
    {
        if (!QTest::qWaitFor([this] { return hasPendingConnections(); }, waitMs))
            qFatal("nobody has connected");
        return std::unique_ptr<QTcpSocket>(nextPendingConnection());
    }
};

/// A DataClient that is connected to a port, and what it has received.
struct ConnectedClient
{
    explicit ConnectedClient(quint16 port) { data.connectTo(QHostAddress::LocalHost, port); }

    RecordingSink sink;
    DataClient data{sink};
};

} // namespace

class TestRemoteController : public QObject
{
    Q_OBJECT

private slots:
    void requestsGetTheResultOfTheController();
    void onlyTheFirstRequestWaitsForASilentController();
    void waitForASilentControllerReportsAReason();
    void unexpectedLineEndsTheConnection();
    void connectionIsRestoredAfterARestart();
    void cutFrameIsNotDelivered();
    void endlessFrameEndsTheConnection();
    void floodOfResetsIsReportedOnce();
    void lateClientLearnsThatTheDataHaveEnded();
    void stateReachesTheFrontend();
};

void TestRemoteController::requestsGetTheResultOfTheController()
{
    const RunningController server;
    RemoteController controller(localHost, server.commandPort);
    controller.start();
    QVERIFY(controller.waitForConnected(waitMs));
    QVERIFY(controller.greeting().version.minor == 9 && controller.greeting().dataPort == server.dataPort);

    QByteArray answer = "unchanged";
    QList<int> results;
    results.append(controller.query("output net ch11", &answer));
    results.append(controller.command("output net ch02 udp 'somehost' 6000"));
    // These two requests are not sent: one has two lines, one is too long by one character.
    results.append(controller.command("output net ch02 udp 'otherhost' 6000\noutput net ch02 none"));
    const QByteArray longest(protocol::maximumLine - 5, 'x'); // leaves room for "get " and the line end
    results.append(controller.query(longest + 'x', &answer));
    results.append(controller.query(longest, &answer));
    QCOMPARE(answer, QByteArray("unchanged"));
    results.append(controller.query("output net ch02", &answer));
    QCOMPARE(results, (QList<int>{OutOfRange, Accepted, Failed, Failed, NotUnderstood, Accepted}));
    QCOMPARE(answer, QByteArray("udp somehost 6000"));
}

void TestRemoteController::onlyTheFirstRequestWaitsForASilentController()
{
    // The server greets the first client only and answers no request.
    TestServer server;
    connect(&server, &QTcpServer::newConnection, &server, [&server] {
        static bool hasGreeted = false;
        QTcpSocket *socket = server.nextPendingConnection();
        if (!std::exchange(hasGreeted, true))
            socket->write(greeting);
    });
    RemoteController controller(localHost, server.serverPort());
    controller.start();
    QVERIFY(controller.waitForConnected(waitMs));
    QByteArray answer;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(controller.query("system model", &answer), int(TimedOut));
    QVERIFY(timer.elapsed() >= RemoteController::AnswerTimeoutMs);
    timer.start();
    for (int i = 0; i < 200; ++i)
        QCOMPARE(controller.query("system model", &answer), int(NotConnected));
    QVERIFY(timer.elapsed() < RemoteController::AnswerTimeoutMs);
}

void TestRemoteController::waitForASilentControllerReportsAReason()
{
    TestServer server;
    RemoteController controller(localHost, server.serverPort());
    controller.start();
    // The wait ends before the connection fails.
    QVERIFY(!controller.waitForConnected(100));
    QCOMPARE(controller.problem(), QString("the Controller does not answer"));
}

/// An answer to no request, which would be taken for the answer to the next request, and a greeting that is a
/// complete line, but too long.
void TestRemoteController::unexpectedLineEndsTheConnection()
{
    TestServer server;
    RemoteController controller(localHost, server.serverPort());
    QStringList problems;
    connect(&controller, &RemoteController::disconnected, this,
            [&problems](const QString &problem) { problems.append(problem); });
    controller.start();
    const std::unique_ptr<QTcpSocket> first = server.next();
    sendAll(*first, greeting);
    QTRY_VERIFY_WITH_TIMEOUT(controller.isConnected(), waitMs);
    sendAll(*first, "ok 200\n");
    QByteArray answer = "none";
    // No event loop runs before the query.
    QCOMPARE(controller.query("system model", &answer), int(NotConnected));
    QCOMPARE(answer, QByteArray("none"));

    const std::unique_ptr<QTcpSocket> second = server.next();
    sendAll(*second, QByteArray(greeting).replace(" data", QByteArray(protocol::maximumLine, '0') + " data"));
    QTRY_COMPARE_WITH_TIMEOUT(problems.size(), 2, waitMs);
    QVERIFY2(problems.first().contains("without a request") && problems.last().contains("too long"),
             qPrintable(problems.join('\n')));
}

void TestRemoteController::connectionIsRestoredAfterARestart()
{
    auto server = std::make_unique<RunningController>();
    const QString ports = QString::fromLatin1("--channels 0 --port %1 --data-port %2")
                              .arg(server->commandPort)
                              .arg(server->dataPort);
    RecordingSink sink;
    DataClient data(sink);
    RemoteController controller(localHost, server->commandPort);
    connect(&controller, &RemoteController::connected, &data,
            [&](const Greeting &sent) { data.connectTo(controller.address(), sent.dataPort); });
    controller.start();
    QTRY_VERIFY_WITH_TIMEOUT(controller.isConnected() && sink.events().size() > 10, waitMs);

    server.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!controller.isConnected(), waitMs);
    QByteArray answer;
    QCOMPARE(controller.query("system model", &answer), int(NotConnected));
    QCOMPARE(controller.command("output net ch01 none"), int(NotConnected));
    const int before = sink.events().size();

    server = std::make_unique<RunningController>(ports + " --controller-version 1.8");
    QTRY_VERIFY_WITH_TIMEOUT(controller.isConnected() && sink.events().size() > before + 10, waitMs);
    QCOMPARE(controller.greeting().version.minor, 8);
    QCOMPARE(sink.events().at(before), QByteArray("reset"));
    QVERIFY(controller.query("system model", &answer) == 0 && answer == "100");
}

void TestRemoteController::cutFrameIsNotDelivered()
{
    TestServer server;
    const ConnectedClient client(server.serverPort());
    for (const QByteArray &text : {QByteArray("#reset\nfr 1\r\n6d 0\r\n\r\nfr 2\r\n6"),
                                   QByteArray("6d 0\r\n#reset\nfr 4\r\n\r\n#unknown\n#idle\n")}) {
        const std::unique_ptr<QTcpSocket> socket = server.next();
        sendAll(*socket, text);
        socket->disconnectFromHost();
    }
    const QList<QByteArray> expected{"reset", "fr 1\r\n6d 0\r\n", "reset", "fr 4\r\n", "idle"};
    QTRY_COMPARE_WITH_TIMEOUT(client.sink.events(), expected, waitMs);
}

void TestRemoteController::endlessFrameEndsTheConnection()
{
    for (const int length : {10, 100000}) {
        TestServer server;
        const ConnectedClient client(server.serverPort());
        const std::unique_ptr<QTcpSocket> socket = server.next();
        const QByteArray lines =
            (QByteArray("6d ").leftJustified(length, '0') + '\n').repeated(1000000 / length);
        for (int i = 0; i < 30 && socket->state() == QTcpSocket::ConnectedState; ++i)
            sendAll(*socket, lines);
        QTRY_VERIFY_WITH_TIMEOUT(socket->state() != QTcpSocket::ConnectedState, waitMs);
        QCOMPARE(client.sink.events(), QList<QByteArray>());
    }
}

/// The thread of the client's owner is busy meanwhile.
void TestRemoteController::floodOfResetsIsReportedOnce()
{
    TestServer server;
    const ConnectedClient client(server.serverPort());
    int resets = 0;
    connect(&client.data, &DataClient::wasReset, this, [&resets] { ++resets; });
    const std::unique_ptr<QTcpSocket> socket = server.next();
    sendAll(*socket, QByteArray("#reset\n").repeated(1000));
    QVERIFY(comesTrue([&client] { return client.sink.events().size() == 1000; }));
    QTRY_VERIFY_WITH_TIMEOUT(resets > 0, waitMs);
    QTest::qWait(0);
    QCOMPARE(resets, 1);
}

void TestRemoteController::lateClientLearnsThatTheDataHaveEnded()
{
    QTemporaryFile recording;
    QVERIFY(recording.open() && recording.write("fr 1\n6d 0\nfr 2\n6d 0\n") > 0 && recording.flush());
    const RunningController server(QLatin1String("--port 0 --replay ") + recording.fileName());
    // The first client connects before or after the data end; both clients must receive "idle".
    const ConnectedClient early(server.dataPort);
    QTRY_VERIFY_WITH_TIMEOUT(early.sink.events().contains("idle"), waitMs);
    const ConnectedClient late(server.dataPort);
    QTRY_COMPARE_WITH_TIMEOUT(late.sink.events(), (QList<QByteArray>{"reset", "idle"}), waitMs);
}

void TestRemoteController::stateReachesTheFrontend()
{
    const RunningController server;
    const ConnectedClient frontend(server.dataPort);
    ControllerState seen;
    connect(&frontend.data, &DataClient::stateReceived, this,
            [&seen](const ControllerState &state) { seen = state; });
    QTRY_COMPARE_WITH_TIMEOUT(seen.version.minor, 9, waitMs);
    LineClient client(server.commandPort);
    for (const char *command : {"net ch10 multicast '239.1.2.3' 6000", "net_active ch10 yes",
                                "active ch10 6d yes", "net_divisor ch10 7", "net_via_router yes"})
        QCOMPARE(client.ask("set output " + QByteArray(command)), QByteArray("ok"));
    QTRY_VERIFY_WITH_TIMEOUT(seen.viaRouter, waitMs);
    const OutputChannel &channel = seen.channels[9];
    const Destination destination{Destination::Kind::Multicast, "239.1.2.3", 6000};
    QVERIFY(channel.destination == destination && channel.active && channel.divisor == 7 && !seen.locked);
    QCOMPARE(channel.types, (QSet<QByteArray>{"fr", "6d"}));
}

QTEST_GUILESS_MAIN(TestRemoteController)
#include "test_remotecontroller.moc"
