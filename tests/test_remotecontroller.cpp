// Tests both ends of the connections between a host and a Controller on the network.

#include "dataclient.h"
#include "remotecontroller.h"
#include "runningcontroller.h"
#include "waiting.h"

#include <QElapsedTimer>
#include <QTcpServer>

#include <memory>

using namespace simulation;

namespace {

constexpr int waitMs = Program::LimitMs;
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

    /// Returns the texts of the frames, "reset" and "idle" in the order of their arrival, each with a bar.
    QByteArray events() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return QByteArray::fromStdString(m_events);
    }

private:
    void keep(const QByteArray &event)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_events += event.toStdString() + '|';
    }

    mutable std::mutex m_mutex;
    // Not a QByteArray, whose shared data are freed in Qt's library. That library is not instrumented, so
    // ThreadSanitizer would not see that the accesses to these data are synchronised.
    std::string m_events;
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

/// A DataClient that is connected to the test, and what it has received.
struct ConnectedClient
{
    ConnectedClient() { data.connectTo(QHostAddress::LocalHost, server.serverPort()); }

    TestServer server;
    RecordingSink sink;
    DataClient data{sink};
};

/// A client that sends and receives single lines of the command protocol.
class LineClient : public QTcpSocket
{
public:
    explicit LineClient(quint16 port)
    {
        connectToHost(QHostAddress::LocalHost, port);
        waitForConnected(waitMs);
    }

    /// Waits for a line. Returns it without its end, or "closed" if the connection has ended.
    QByteArray nextLine()
    {
        while (!canReadLine() && waitForReadyRead(waitMs)) {
        }
        return state() == UnconnectedState ? QByteArray("closed") : readLine().trimmed();
    }

    QByteArray ask(const QByteArray &line)
    {
        write(line + '\n');
        return nextLine();
    }
};

/// A RemoteController that is connected to the test.
struct ConnectedController
{
    ConnectedController()
    {
        controller.start();
        socket = server.next();
        sendAll(*socket, greeting);
        if (!controller.waitForConnected(waitMs))
            qFatal("the greeting was not accepted");
    }

    TestServer server;
    RemoteController controller{QLatin1String("127.0.0.1"), server.serverPort()};
    std::unique_ptr<QTcpSocket> socket;
};

} // namespace

class TestRemoteController : public QObject
{
    Q_OBJECT

private slots:
    void pipelinedRequestsAreAnsweredInOrderAndLate();
    void misbehavingClientAffectsNoOther();
    void requestsGetTheResultOfTheController();
    void onlyTheFirstRequestWaitsForASilentController();
    void unexpectedLineEndsTheConnection();
    void cutFrameIsNotDelivered();
    void endlessFrameEndsTheConnection();
    void floodOfResetsIsReportedOnce();
    void stateIsTheSameAfterItsTransfer();
};

void TestRemoteController::pipelinedRequestsAreAnsweredInOrderAndLate()
{
    const RunningController server(QLatin1String("--port 0 --answer-delay 50"));
    LineClient client(server.commandPort);
    QElapsedTimer timer;
    timer.start();
    for (const char *text :
         {"get system model\r\nget output number_of_types\n", "set output net ch01 none\nget"})
        sendAll(client, text);
    for (const char *answer : {"ok 100", "ok 15", "ok"})
        QCOMPARE(client.nextLine(), QByteArray(answer));
    QVERIFY(timer.elapsed() >= 150); // three answers, 50 ms each
    QCOMPARE(client.ask(" output type t01"), QByteArray("ok fr"));
}

void TestRemoteController::misbehavingClientAffectsNoOther()
{
    const RunningController server;
    LineClient other(server.commandPort);
    for (const auto &[input, answer] :
         {std::pair(QByteArray("put x\n"), "error 1"), std::pair(QByteArray("\n"), "error 1"),
          std::pair(QByteArray("get \0\xff\x01 x\n", 10), "error 1"),
          std::pair(QByteArray(100000, 'x'), "closed")}) {
        LineClient bad(server.commandPort);
        bad.write(input);
        QCOMPARE(bad.nextLine(), QByteArray(answer));
        QCOMPARE(other.ask("get system model"), QByteArray("ok 100"));
    }
    LineClient deaf(server.commandPort);
    deaf.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 4096);
    deaf.setReadBufferSize(1);
    deaf.write(QByteArray("get output type_desc 6d\n").repeated(20000));
    // After ten seconds the system itself would end the connection. Only a write reveals its end.
    QTRY_VERIFY_WITH_TIMEOUT(deaf.state() == QTcpSocket::UnconnectedState || deaf.write("\n") != 1, 8000);
    QCOMPARE(other.ask("get system model"), QByteArray("ok 100"));
}

void TestRemoteController::requestsGetTheResultOfTheController()
{
    const RunningController server;
    RemoteController controller(QLatin1String("127.0.0.1"), server.commandPort);
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
    ConnectedController silent;
    QByteArray answer;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(silent.controller.query("system model", &answer), int(TimedOut));
    QVERIFY(timer.elapsed() >= RemoteController::AnswerTimeoutMs);
    timer.start();
    for (int i = 0; i < 200; ++i)
        QCOMPARE(silent.controller.query("system model", &answer), int(NotConnected));
    QVERIFY(timer.elapsed() < RemoteController::AnswerTimeoutMs);
}

/// An answer to no request, which would be taken for the answer to the next request, and a greeting that is a
/// complete line, but too long.
void TestRemoteController::unexpectedLineEndsTheConnection()
{
    ConnectedController client;
    QStringList problems;
    connect(&client.controller, &RemoteController::disconnected, this,
            [&problems](const QString &problem) { problems.append(problem); });
    sendAll(*client.socket, "ok 200\n");
    QByteArray answer = "none";
    // No event loop runs before the query.
    QCOMPARE(client.controller.query("system model", &answer), int(NotConnected));
    QCOMPARE(answer, QByteArray("none"));

    client.socket = client.server.next();
    sendAll(*client.socket,
            QByteArray(greeting).replace(" data", QByteArray(protocol::maximumLine, '0') + " data"));
    QTRY_COMPARE_WITH_TIMEOUT(problems.size(), 2, waitMs);
    QVERIFY2(problems.first().contains("without a request") && problems.last().contains("too long"),
             qPrintable(problems.join('\n')));
}

void TestRemoteController::cutFrameIsNotDelivered()
{
    ConnectedClient client;
    for (const char *text : {"#reset\nfr 1\r\n6d 0\r\n\r\nfr 2\r\n6",
                             "fr 3\r\n\r\n6d 0\r\n#reset\nfr 4\r\n\r\n#unknown\n#idle\n"}) {
        const std::unique_ptr<QTcpSocket> socket = client.server.next();
        sendAll(*socket, text);
        socket->disconnectFromHost();
    }
    const QByteArray expected("reset|fr 1\r\n6d 0\r\n|fr 3\r\n|reset|fr 4\r\n|idle|");
    QTRY_COMPARE_WITH_TIMEOUT(client.sink.events(), expected, waitMs);
}

void TestRemoteController::endlessFrameEndsTheConnection()
{
    // Lines of 10 and of 100000 bytes, which exceed either limit of a frame.
    for (const auto &[length, megabytes] : {std::pair(10, 1), std::pair(100000, 30)}) {
        // Without this message the client has only missed the sign of life that a Controller sends.
        QTest::ignoreMessage(QtWarningMsg, "the Controller sent a frame that is too long");
        ConnectedClient client;
        const std::unique_ptr<QTcpSocket> socket = client.server.next();
        const QByteArray lines =
            (QByteArray("6d ").leftJustified(length, '0') + '\n').repeated(1000000 / length);
        for (int i = 0; i < megabytes && socket->state() == QTcpSocket::ConnectedState; ++i)
            sendAll(*socket, lines);
        QTRY_VERIFY_WITH_TIMEOUT(socket->state() != QTcpSocket::ConnectedState, waitMs);
        QCOMPARE(client.sink.events(), QByteArray());
    }
}

/// The thread of the client's owner is busy meanwhile.
void TestRemoteController::floodOfResetsIsReportedOnce()
{
    ConnectedClient client;
    const QSignalSpy resets(&client.data, &DataClient::wasReset);
    const std::unique_ptr<QTcpSocket> socket = client.server.next();
    sendAll(*socket, QByteArray("#reset\n").repeated(1000));
    QVERIFY(comesTrue([&client] { return client.sink.events().count("reset") == 1000; }));
    QTRY_VERIFY_WITH_TIMEOUT(!resets.isEmpty(), waitMs);
    QTest::qWait(0);
    QCOMPARE(resets.size(), 1);
}

void TestRemoteController::stateIsTheSameAfterItsTransfer()
{
    const Destination destination{Destination::Kind::Multicast, "239.1.2.3", 6000};
    ControllerState sent;
    sent.version = {{0, 0, 0}, 1, 8, 0};
    sent.locked = sent.viaRouter = true;
    sent.channels[9] = {destination, true, 7, {"fr", "6d"}};
    ControllerState seen;
    QVERIFY(parseState(stateText(sent), &seen));
    QVERIFY(seen.version.minor == 8 && seen.locked && seen.viaRouter);
    const OutputChannel &channel = seen.channels[9];
    QVERIFY(channel.destination == destination && channel.active && channel.divisor == 7);
    QCOMPARE(channel.types, sent.channels[9].types);
}

QTEST_GUILESS_MAIN(TestRemoteController)
#include "test_remotecontroller.moc"
