// Tests the simulated Controller on a network, its clients, and the programs `controller` and `frontend`.

#include "commandclient.h"
#include "controllerservice.h"
#include "dataclient.h"
#include "delayedcommands.h"
#include "eventthread.h"
#include "program.h"
#include "table.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QUdpSocket>

#include <memory>
#include <sys/stat.h>

using namespace simulation;

namespace {

constexpr int waitMs = Program::LimitMs;
const QString localHost = QLatin1String("127.0.0.1");

/// Returns options for a Controller without channels, on ports that the system chooses.
ControllerOptions freePorts()
{
    ControllerOptions options;
    options.port = 0;
    options.channels = 0;
    options.rate = 200;
    return options;
}

/// A Controller on a thread of its own, as if it were another program.
class RunningController
{
public:
    explicit RunningController(const ControllerOptions &options = freePorts())
    {
        m_thread.run([&] { start(options); });
    }
    ~RunningController()
    {
        m_thread.run([this] { m_service.reset(); });
    }

    SimulatedController &controller() { return m_service->controller(); }

    quint16 commandPort = 0;
    quint16 dataPort = 0;

private:
    void start(const ControllerOptions &options)
    {
        m_service = std::make_unique<ControllerService>(options);
        QString problem;
        if (!m_service->openSource(&problem) || !m_service->start(&problem))
            qFatal("%s", qPrintable(problem));
        commandPort = m_service->commandPort();
        dataPort = m_service->dataPort();
    }

    std::unique_ptr<ControllerService> m_service; ///< lives on m_thread
    EventThread m_thread;
};

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

/// A client that sends and receives single lines of the command protocol.
class LineClient
{
public:
    explicit LineClient(quint16 port)
    {
        m_socket.connectToHost(localHost, port);
        m_socket.waitForConnected(waitMs);
    }

    /// Returns whether the connection is open and accepts the whole text.
    bool write(const QByteArray &text) { return m_socket.isOpen() && m_socket.write(text) == text.size(); }

    /// Waits for a line. Returns it without its end, "closed" if the connection has ended, or "timeout".
    QByteArray readLine()
    {
        const bool isDone = QTest::qWaitFor(
            [&] { return m_socket.canReadLine() || m_socket.state() == QTcpSocket::UnconnectedState; },
            waitMs);
        if (!isDone)
            return "timeout";
        return m_socket.canReadLine() ? m_socket.readLine().trimmed() : QByteArray("closed");
    }

    QByteArray ask(const QByteArray &line)
    {
        write(line + '\n');
        return readLine();
    }

    /// Stops reading. Afterwards only writing can reveal that the connection has ended.
    void stopReading()
    {
        m_socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 4096);
        m_socket.setReadBufferSize(1);
    }

    bool isClosed() const { return m_socket.state() == QTcpSocket::UnconnectedState; }

private:
    QTcpSocket m_socket;
};

/// Returns the first port in "controller: listening on ADDRESS:PORT, data on ADDRESS:PORT".
quint16 commandPortOf(const QByteArray &line)
{
    const int start = line.indexOf(':', line.indexOf("listening on ")) + 1;
    return line.mid(start, line.indexOf(',') - start).toUShort();
}

} // namespace

class TestRemoteController : public QObject
{
    Q_OBJECT

private slots:
    void requestsGetTheResultOfTheController();
    void requestAboveTheLimitOfALineIsNotSent();
    void pipelinedRequestsAreAnsweredInOrder();
    void misbehavingClientAffectsNoOther_data();
    void misbehavingClientAffectsNoOther();
    void excessConnectionsAreRefused();
    void refusalProbabilityConcernsCommandsOnly();
    void answersAreDelayed();
    void onlyTheFirstRequestWaitsForASilentController();
    void waitForASilentControllerReportsAReason();
    void connectionIsRestoredAfterARestart();
    void cutFrameIsNotDelivered();
    void lateClientLearnsThatTheDataHaveEnded();
    void stateReachesTheFrontend();
    void directOutputEndsWhenRouterModeStarts();
    void programEndsCleanlyOnASignal();
    void interruptEndsAProgramThatReadsAPipe();
    void occupiedPortEndsTheProgram();
    void invalidArgumentsAreRefused_data();
    void invalidArgumentsAreRefused();
    void channelsOfARemoteControllerGetTheirFrames();
    void unusableControllerOptionIsRefused();
};

void TestRemoteController::requestsGetTheResultOfTheController()
{
    RunningController service;
    CommandClient client(localHost, service.commandPort);
    client.start();
    QTRY_VERIFY_WITH_TIMEOUT(client.isConnected(), waitMs);
    QVERIFY(client.greeting().version.minor == 9 && client.greeting().dataPort == service.dataPort);

    QByteArray answer = "unchanged";
    QList<int> results;
    results.append(client.query("output net ch11", &answer));
    results.append(client.command("output net ch02 udp 'somehost' 6000"));
    results.append(client.command("output net ch02\nudp my_ip 1"));
    results.append(client.command("output nonsense"));
    QCOMPARE(answer, QByteArray("unchanged"));
    results.append(client.query("output net ch02", &answer));
    QCOMPARE(results, (QList<int>{OutOfRange, 0, -1, NotUnderstood, 0}));
    QCOMPARE(answer, QByteArray("udp somehost 6000"));
    QCOMPARE(service.controller().commands().size(), 2); // the command of two lines was not sent
}

void TestRemoteController::requestAboveTheLimitOfALineIsNotSent()
{
    RunningController service;
    CommandClient client(localHost, service.commandPort);
    client.start();
    QTRY_VERIFY_WITH_TIMEOUT(client.isConnected(), waitMs);
    QByteArray answer;
    const QByteArray longest(protocol::maximumLine - 5, 'x'); // leaves room for "get " and the line end
    QCOMPARE(client.query(longest, &answer), int(NotUnderstood));
    QCOMPARE(client.query(longest + 'x', &answer), -1);
    QCOMPARE(service.controller().record().size(), 1);
}

void TestRemoteController::pipelinedRequestsAreAnsweredInOrder()
{
    ControllerOptions options = freePorts();
    options.answerDelayMs = 5;
    RunningController service(options);
    LineClient client(service.commandPort);
    client.write("get system model\r\nget output number_of_types\nset output net ch01 none\nget");
    QCOMPARE(client.readLine(), QByteArray("ok 100"));
    QCOMPARE(client.readLine(), QByteArray("ok 15"));
    QCOMPARE(client.readLine(), QByteArray("ok"));
    QCOMPARE(client.ask(" output type t01"), QByteArray("ok fr"));
}

void TestRemoteController::misbehavingClientAffectsNoOther_data()
{
    const Table<QByteArray, QByteArray> row("input", "answer");
    row("unknown request", "put x\n", "error 1");
    row("empty line", "\n", "error 1");
    row("binary data", QByteArray("get \0\xff\x01 x\n", 10), "error 1");
    row("line without an end", QByteArray(100000, 'x'), "error 1 line too long");
    row("zeros without an end", QByteArray(100000, '\0'), "error 1 line too long");
    row("answers are never read", QByteArray("get output type_desc 6d\n").repeated(20000), "");
}

void TestRemoteController::misbehavingClientAffectsNoOther()
{
    QFETCH(const QByteArray, input);
    QFETCH(const QByteArray, answer);
    RunningController service;
    LineClient other(service.commandPort);
    LineClient bad(service.commandPort);
    if (answer.isEmpty())
        bad.stopReading();
    bad.write(input);
    if (!answer.isEmpty())
        QCOMPARE(bad.readLine(), answer);
    for (int i = 0; i < 20; ++i)
        QCOMPARE(other.ask("get system model"), QByteArray("ok 100"));
    if (answer.isEmpty())
        QTRY_VERIFY_WITH_TIMEOUT(bad.isClosed() || !bad.write("\n"), waitMs);
    QCOMPARE(other.ask("get system model"), QByteArray("ok 100"));
}

void TestRemoteController::excessConnectionsAreRefused()
{
    RunningController service;
    LineClient first(service.commandPort);
    QCOMPARE(first.ask("get system model"), QByteArray("ok 100"));
    {
        std::vector<std::unique_ptr<LineClient>> others;
        others.reserve(100);
        for (int i = 0; i < 100; ++i)
            others.push_back(std::make_unique<LineClient>(service.commandPort));
        int refused = 0;
        for (const auto &client : others)
            refused += client->ask("get system model") == "closed" ? 1 : 0;
        QCOMPARE(refused, 101 - CommandServer::ConnectionLimit);
        QCOMPARE(first.ask("get system model"), QByteArray("ok 100"));
    }
    // The Controller learns only later that the connections are closed.
    QTRY_COMPARE_WITH_TIMEOUT(LineClient(service.commandPort).ask("get system model"), QByteArray("ok 100"),
                              waitMs);
}

void TestRemoteController::refusalProbabilityConcernsCommandsOnly()
{
    ControllerOptions options = freePorts();
    options.refusalProbability = 1.0;
    RunningController service(options);
    LineClient client(service.commandPort);
    QCOMPARE(client.ask("set output net_active ch01 yes"), QByteArray("error -1"));
    QCOMPARE(client.ask("get output net_active ch01"), QByteArray("ok no"));
}

void TestRemoteController::answersAreDelayed()
{
    constexpr int delayMs = 100;
    ControllerOptions options = freePorts();
    options.answerDelayMs = delayMs;
    RunningController service(options);
    LineClient client(service.commandPort);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(client.ask("get system model"), QByteArray("ok 100"));
    QVERIFY(timer.elapsed() >= delayMs);

    SimulatedController embedded;
    DelayedCommands delayed(embedded);
    delayed.setDelay(delayMs);
    QByteArray answer;
    timer.start();
    QVERIFY(delayed.query("system model", &answer) == 0 && delayed.command("output net ch01 none") == 0);
    QVERIFY(timer.elapsed() >= qint64{2} * delayMs && answer == "100");
}

void TestRemoteController::onlyTheFirstRequestWaitsForASilentController()
{
    // The server greets the first client only and answers no request.
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    connect(&server, &QTcpServer::newConnection, &server, [&server] {
        static bool hasGreeted = false;
        QTcpSocket *socket = server.nextPendingConnection();
        if (!std::exchange(hasGreeted, true))
            socket->write("ok version 1.9.0 data 9\n");
    });
    CommandClient client(localHost, server.serverPort());
    client.start();
    QTRY_VERIFY_WITH_TIMEOUT(client.isConnected(), waitMs);
    QByteArray answer;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(client.query("system model", &answer), int(CommandService::TimedOut));
    QVERIFY(timer.elapsed() >= CommandClient::AnswerTimeoutMs);
    timer.start();
    for (int i = 0; i < 200; ++i)
        QCOMPARE(client.query("system model", &answer), int(CommandService::NotConnected));
    QVERIFY(timer.elapsed() < CommandClient::AnswerTimeoutMs);
}

void TestRemoteController::waitForASilentControllerReportsAReason()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    CommandClient client(localHost, server.serverPort());
    client.start();
    // The wait ends before the connection fails.
    QVERIFY(!client.waitForConnected(100));
    QCOMPARE(client.problem(), QString("the Controller does not answer"));
}

void TestRemoteController::connectionIsRestoredAfterARestart()
{
    ControllerOptions options = freePorts();
    auto service = std::make_unique<RunningController>(options);
    options.port = service->commandPort;
    options.dataPort = service->dataPort;
    RecordingSink sink;
    DataClient data(sink);
    CommandClient client(localHost, service->commandPort);
    connect(&client, &CommandClient::connected, &data,
            [&](const Greeting &greeting) { data.connectTo(localHost, greeting.dataPort); });
    client.start();
    QTRY_VERIFY_WITH_TIMEOUT(client.isConnected() && sink.events().size() > 10, waitMs);

    service.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!client.isConnected(), waitMs);
    QByteArray answer;
    QVERIFY(client.query("system model", &answer) != 0 && client.command("output net ch01 none") != 0);
    const int before = sink.events().size();

    options.controllerVersion.minor = 8;
    service = std::make_unique<RunningController>(options);
    QTRY_VERIFY_WITH_TIMEOUT(client.isConnected() && sink.events().size() > before + 10, waitMs);
    QCOMPARE(client.greeting().version.minor, 8);
    QCOMPARE(sink.events().at(before), QByteArray("reset"));
    QVERIFY(client.query("system model", &answer) == 0 && answer == "100");
}

void TestRemoteController::cutFrameIsNotDelivered()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    RecordingSink sink;
    DataClient data(sink);
    data.connectTo(localHost, server.serverPort());
    for (const QByteArray &text : {QByteArray("#reset\nfr 1\r\n6d 0\r\n\r\nfr 2\r\n6"),
                                   QByteArray("6d 0\r\n#reset\nfr 4\r\n\r\n#unknown\n#idle\n")}) {
        QTRY_VERIFY_WITH_TIMEOUT(server.hasPendingConnections(), waitMs);
        std::unique_ptr<QTcpSocket> socket(server.nextPendingConnection());
        socket->write(text);
        QTRY_COMPARE_WITH_TIMEOUT(socket->bytesToWrite(), 0, waitMs);
        socket->disconnectFromHost();
    }
    const QList<QByteArray> expected{"reset", "fr 1\r\n6d 0\r\n", "reset", "fr 4\r\n", "idle"};
    QTRY_COMPARE_WITH_TIMEOUT(sink.events(), expected, waitMs);
}

void TestRemoteController::lateClientLearnsThatTheDataHaveEnded()
{
    QTemporaryFile recording;
    QVERIFY(recording.open() && recording.write("fr 1\n6d 0\nfr 2\n6d 0\n") > 0 && recording.flush());
    ControllerOptions options = freePorts();
    options.replay = recording.fileName();
    RunningController service(options);
    // The first client connects before or after the data end; both clients must receive "idle".
    RecordingSink sinks[2];
    for (RecordingSink &sink : sinks) {
        DataClient data(sink);
        data.connectTo(localHost, service.dataPort);
        QTRY_VERIFY_WITH_TIMEOUT(sink.events().contains("idle"), waitMs);
    }
    QCOMPARE(sinks[1].events(), (QList<QByteArray>{"reset", "idle"}));
}

void TestRemoteController::stateReachesTheFrontend()
{
    RunningController service;
    RecordingSink sink;
    DataClient data(sink);
    ControllerState seen;
    connect(&data, &DataClient::stateReceived, this, [&seen](const ControllerState &state) { seen = state; });
    data.connectTo(localHost, service.dataPort);
    const Destination destination{Destination::Kind::Multicast, "239.1.2.3", 6000};
    QTRY_COMPARE_WITH_TIMEOUT(seen.version.minor, 9, waitMs);
    service.controller().change([&](ControllerState &state) {
        state.locked = state.viaRouter = true;
        state.channels[9] = {destination, true, 7, {"fr", "6d"}};
    });
    QTRY_VERIFY_WITH_TIMEOUT(seen.locked && seen.viaRouter, waitMs);
    const OutputChannel &channel = seen.channels[9];
    QVERIFY(channel.destination == destination && channel.active && channel.divisor == 7);
    QCOMPARE(channel.types, (QSet<QByteArray>{"fr", "6d"}));
}

void TestRemoteController::directOutputEndsWhenRouterModeStarts()
{
    QUdpSocket receiver;
    QVERIFY(receiver.bind(QHostAddress::LocalHost));
    RunningController service;
    RecordingSink sink;
    DataClient data(sink);
    data.connectTo(localHost, service.dataPort);
    LineClient client(service.commandPort);
    for (const QByteArray &text :
         {"set output net ch01 udp '127.0.0.1' " + QByteArray::number(receiver.localPort()),
          QByteArray("set output active ch01 6d yes"), QByteArray("set output net_active ch01 yes")})
        QCOMPARE(client.ask(text), QByteArray("ok"));
    QTRY_VERIFY_WITH_TIMEOUT(receiver.hasPendingDatagrams() && sink.events().size() > 5, waitMs);
    QByteArray datagram(int(receiver.pendingDatagramSize()), '\0');
    receiver.readDatagram(datagram.data(), datagram.size());
    QVERIFY2(datagram.startsWith("fr ") && datagram.count("\r\n") == 2 && datagram.contains("\r\n6d 3 "),
             datagram.constData());

    QCOMPARE(client.ask("set output net_via_router yes"), QByteArray("ok"));
    while (receiver.hasPendingDatagrams())
        receiver.receiveDatagram();
    const int before = sink.events().size();
    QTRY_VERIFY_WITH_TIMEOUT(sink.events().size() > before + 20, waitMs);
    QVERIFY(!receiver.hasPendingDatagrams());
}

void TestRemoteController::programEndsCleanlyOnASignal()
{
    for (const int signal : {SIGINT, SIGHUP, SIGPIPE}) {
        Program program(CONTROLLER_PATH, QLatin1String("--port 0 --channels 10"));
        const QByteArray line = program.nextLine();
        QVERIFY2(line.startsWith("controller: listening on 127.0.0.1:"), line.constData());
        program.sendSignal(signal);
        QCOMPARE(program.status(), 0);
        QCOMPARE(program.readAllStandardError(), QByteArray());
    }
}

/// While a program reads its recording, it runs no event loop.
void TestRemoteController::interruptEndsAProgramThatReadsAPipe()
{
    const QTemporaryDir folder;
    const QString pipe = folder.filePath("pipe");
    QCOMPARE(::mkfifo(pipe.toLocal8Bit().constData(), 0600), 0);
    const QString arguments = QLatin1String(" --replay ") + pipe;
    for (const auto &[path, options] : {std::pair(CONTROLLER_PATH, "--port 0"),
                                        std::pair(FRONTEND_PATH, "--headless --plugin " PLUGIN_PATH)}) {
        Program program(path, options + arguments);
        // The pipe can be opened for writing only when the program has opened it for reading.
        QFile writer(pipe);
        QVERIFY(writer.open(QIODevice::WriteOnly));
        program.sendSignal(SIGINT);
        QVERIFY(program.waitForFinished(waitMs));
    }
}

void TestRemoteController::occupiedPortEndsTheProgram()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    Program program(CONTROLLER_PATH, QLatin1String("--port ") + QString::number(server.serverPort()));
    QCOMPARE(program.status(), 1);
}

void TestRemoteController::invalidArgumentsAreRefused_data()
{
    const Table<QString> row("arguments");
    for (const char *arguments :
         {"--nonsense", "stray", "--port 65536", "--rate 0", "--channels 11", "--refuse 1.5", "--refuse nan",
          "--answer-delay -1", "--controller-version 1", "--replay /nonexistent/file", "--seconds many"})
        row(arguments, arguments);
}

void TestRemoteController::invalidArgumentsAreRefused()
{
    QFETCH(const QString, arguments);
    QVERIFY(Program(CONTROLLER_PATH, arguments).hasRefusedArguments("controller"));
}

void TestRemoteController::channelsOfARemoteControllerGetTheirFrames()
{
    for (const char *mode : {"", " --router"}) {
        Program controller(CONTROLLER_PATH,
                           QLatin1String("--port 0 --rate 200 --channels 2") + QLatin1String(mode));
        const quint16 port = commandPortOf(controller.nextLine());
        Program frontend(FRONTEND_PATH, QLatin1String("--headless --seconds 2 --plugin " PLUGIN_PATH
                                                      " --controller 127.0.0.1:") +
                                            QString::number(port));
        const int status = frontend.status();
        const QByteArray out = frontend.readAllStandardOutput();
        QVERIFY2(status == 0 && out.count(": good\n") == 2, out + frontend.readAllStandardError());
        controller.sendSignal(SIGTERM);
        QCOMPARE(controller.status(), 0);
    }
}

/// Three cases: the Controller cannot be reached, the port is missing, or another option is only for the
/// embedded Controller.
void TestRemoteController::unusableControllerOptionIsRefused()
{
    // No program listens on a port that has just been released.
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QString port = QString::number(server.serverPort());
    server.close();
    for (const QString &arguments :
         {QLatin1String("--controller 127.0.0.1:") + port, QString::fromLatin1("--controller 127.0.0.1"),
          QString::fromLatin1("--controller 127.0.0.1:1 --rate 100")}) {
        Program frontend(FRONTEND_PATH, QLatin1String("--headless --plugin " PLUGIN_PATH " ") + arguments);
        QVERIFY(frontend.hasRefusedArguments("frontend"));
    }
}

QTEST_GUILESS_MAIN(TestRemoteController)
#include "test_remotecontroller.moc"
