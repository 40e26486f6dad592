#pragma once

#include "program.h"

#include <QTcpSocket>
#include <QtTest>

/// The program `controller`, which runs until the object is destroyed.
class RunningController : public Program
{
public:
    /// Without other arguments, the Controller has no channels and listens on ports that the system chooses.
    explicit RunningController(const QString &arguments = QLatin1String("--port 0 --channels 0 --rate 200"))
        : Program(CONTROLLER_PATH, arguments)
    {
        // The line is "controller: listening on ADDRESS:PORT, data on ADDRESS:PORT".
        const QList<QByteArray> parts = nextLine().replace(',', ':').split(':');
        commandPort = parts.value(2).toUShort();
        dataPort = parts.value(4).toUShort();
        if (dataPort == 0)
            qFatal("the Controller did not start: %s", readAllStandardError().constData());
    }

    ~RunningController() override
    {
        sendSignal(SIGTERM);
        if (status() != 0)
            qFatal("the Controller failed: %s", readAllStandardError().constData());
    }

    quint16 commandPort = 0;
    quint16 dataPort = 0;
};

/// A client that sends and receives single lines of the command protocol.
class LineClient
{
public:
    explicit LineClient(quint16 port)
    {
        m_socket.connectToHost(QHostAddress::LocalHost, port);
        m_socket.waitForConnected(Program::LimitMs);
    }

    /// Returns whether the connection is open and accepts the whole text.
    bool write(const QByteArray &text) { return m_socket.isOpen() && m_socket.write(text) == text.size(); }

    /// Waits for a line. Returns it without its end, "closed" if the connection has ended, or "timeout".
    QByteArray readLine()
    {
        const bool isDone = QTest::qWaitFor(
            [&] { return m_socket.canReadLine() || m_socket.state() == QTcpSocket::UnconnectedState; },
            Program::LimitMs);
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
