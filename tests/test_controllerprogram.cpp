// Tests the program `controller`: its command server and its command line.

#include "runningcontroller.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <sys/stat.h>

class TestControllerProgram : public QObject
{
    Q_OBJECT

private slots:
    void pipelinedRequestsAreAnsweredInOrderAndLate();
    void misbehavingClientAffectsNoOther();
    void interruptEndsAProgramThatReadsAPipe();
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
    // After ten seconds the system itself would end the connection.
    QTRY_VERIFY_WITH_TIMEOUT(deaf.isClosed() || !deaf.write("\n"), 8000);
    QCOMPARE(other.ask("get system model"), QByteArray("ok 100"));
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
