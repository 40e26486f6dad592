// Tests the program `controller`: its servers, its output and its command line.

#include "limitedserver.h"
#include "runningcontroller.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QTemporaryDir>
#include <QUdpSocket>

#include <memory>
#include <sys/stat.h>

using namespace simulation;

class TestControllerProgram : public QObject
{
    Q_OBJECT

private slots:
    void pipelinedRequestsAreAnsweredInOrderAndLate();
    void misbehavingClientAffectsNoOther();
    void excessConnectionsAreRefused();
    void directOutputEndsWhenRouterModeStarts();
    void programEndsCleanlyOnASignal();
    void interruptEndsAProgramThatReadsAPipe();
    void occupiedPortEndsTheProgram();
    void invalidArgumentsAreRefused();
};

void TestControllerProgram::pipelinedRequestsAreAnsweredInOrderAndLate()
{
    constexpr int delayMs = 50;
    RunningController controller(QLatin1String("--port 0 --answer-delay ") + QString::number(delayMs));
    LineClient client(controller.commandPort);
    QElapsedTimer timer;
    timer.start();
    client.write("get system model\r\nget output number_of_types\nset output net ch01 none\nget");
    QCOMPARE(client.readLine(), QByteArray("ok 100"));
    QCOMPARE(client.readLine(), QByteArray("ok 15"));
    QCOMPARE(client.readLine(), QByteArray("ok"));
    QVERIFY(timer.elapsed() >= qint64{3} * delayMs);
    QCOMPARE(client.ask(" output type t01"), QByteArray("ok fr"));
}

void TestControllerProgram::misbehavingClientAffectsNoOther()
{
    RunningController controller;
    LineClient other(controller.commandPort);
    for (const auto &[input, answer] :
         {std::pair(QByteArray("put x\n"), "error 1"), std::pair(QByteArray("\n"), "error 1"),
          std::pair(QByteArray("get \0\xff\x01 x\n", 10), "error 1"),
          std::pair(QByteArray(100000, 'x'), "closed")}) {
        LineClient bad(controller.commandPort);
        bad.write(input);
        QCOMPARE(bad.readLine(), QByteArray(answer));
        QCOMPARE(other.ask("get system model"), QByteArray("ok 100"));
    }
    LineClient deaf(controller.commandPort);
    deaf.stopReading();
    deaf.write(QByteArray("get output type_desc 6d\n").repeated(20000));
    for (int i = 0; i < 20; ++i)
        QCOMPARE(other.ask("get system model"), QByteArray("ok 100"));
    QTRY_VERIFY_WITH_TIMEOUT(deaf.isClosed() || !deaf.write("\n"), Program::LimitMs);
    QCOMPARE(other.ask("get system model"), QByteArray("ok 100"));
}

void TestControllerProgram::excessConnectionsAreRefused()
{
    RunningController controller;
    LineClient first(controller.commandPort);
    QCOMPARE(first.ask("get system model"), QByteArray("ok 100"));
    {
        std::vector<std::unique_ptr<LineClient>> others;
        others.reserve(100);
        for (int i = 0; i < 100; ++i)
            others.push_back(std::make_unique<LineClient>(controller.commandPort));
        int refused = 0;
        for (const auto &client : others)
            refused += client->ask("get system model") == "closed" ? 1 : 0;
        QCOMPARE(refused, 101 - LimitedServer::ConnectionLimit);
        QCOMPARE(first.ask("get system model"), QByteArray("ok 100"));
    }
    // The Controller learns only later that the connections are closed.
    QTRY_COMPARE_WITH_TIMEOUT(LineClient(controller.commandPort).ask("get system model"),
                              QByteArray("ok 100"), Program::LimitMs);
}

/// The channel's destination is a name, which must be looked up.
void TestControllerProgram::directOutputEndsWhenRouterModeStarts()
{
    QUdpSocket receiver;
    QVERIFY(receiver.bind(QHostAddress::LocalHost));
    RunningController controller;
    LineClient client(controller.commandPort);
    for (const QByteArray &text :
         {"set output net ch01 udp 'localhost' " + QByteArray::number(receiver.localPort()),
          QByteArray("set output active ch01 6d yes"), QByteArray("set output net_active ch01 yes")})
        QCOMPARE(client.ask(text), QByteArray("ok"));
    QByteArray datagram;
    const auto hasBodies = [&] {
        datagram = receiver.receiveDatagram().data();
        return datagram.contains("\r\n6d 3 ");
    };
    QVERIFY(QTest::qWaitFor(hasBodies, Program::LimitMs));
    QVERIFY2(datagram.startsWith("fr ") && datagram.count("\r\n") == 2, datagram.constData());

    QCOMPARE(client.ask("set output net_via_router yes"), QByteArray("ok"));
    while (receiver.hasPendingDatagrams())
        receiver.receiveDatagram();
    QTcpSocket data;
    data.connectToHost(QHostAddress::LocalHost, controller.dataPort);
    QTRY_VERIFY_WITH_TIMEOUT(data.bytesAvailable() > 20000, Program::LimitMs); // several frames
    QVERIFY(!receiver.hasPendingDatagrams());
}

void TestControllerProgram::programEndsCleanlyOnASignal()
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
void TestControllerProgram::interruptEndsAProgramThatReadsAPipe()
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
        QVERIFY(program.waitForFinished(Program::LimitMs));
    }
}

void TestControllerProgram::occupiedPortEndsTheProgram()
{
    const RunningController occupant;
    QCOMPARE(Program(CONTROLLER_PATH, "--port " + QString::number(occupant.commandPort)).status(), 1);
}

void TestControllerProgram::invalidArgumentsAreRefused()
{
    for (const char *arguments :
         {"--nonsense", "stray", "--port 65536", "--port 65535", "--data-port 65536", "--rate 0",
          "--rate 2001", "--channels 11", "--answer-delay -1", "--controller-version 1",
          "--replay /nonexistent/file", "--seconds many", "--address=", "--address nowhere"})
        QVERIFY2(Program(CONTROLLER_PATH, arguments).hasRefusedArguments("controller"), arguments);
}

QTEST_GUILESS_MAIN(TestControllerProgram)
#include "test_controllerprogram.moc"
