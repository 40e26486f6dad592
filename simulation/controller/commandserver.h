#pragma once

#include <QHostAddress>
#include <QTcpServer>

namespace simulation {

class SimulatedController;

/// Serves a Controller's queries and commands over TCP, one line per request and answer. Lives on a thread
/// with an event loop; not thread-safe.
class CommandServer : public QObject
{
    Q_OBJECT

public:
    /// The maximum number of simultaneous connections. Further clients are disconnected at once.
    static constexpr int ConnectionLimit = 64;

    /// \a controller must outlive this object.
    explicit CommandServer(SimulatedController &controller, QObject *parent = nullptr);

    /// Starts to listen; with \a port 0 the system chooses a free port. Returns false and sets \a problem to
    /// a message of one line on failure.
    bool listen(const QHostAddress &address, quint16 port, QString *problem);

    /// Returns the port on which the server listens, or 0 if it does not listen.
    quint16 port() const { return m_server.serverPort(); }

    /// Sets the port of the data connections. The answer to "hello" contains this port.
    void setDataPort(quint16 port) { m_dataPort = port; }

    /// Sets the delay of each answer, for clients that connect after the call.
    void setAnswerDelay(int milliseconds) { m_answerDelayMs = milliseconds; }

signals:
    /// The client at \a address has sent "hello", as a frontend does when it connects. Emitted before the
    /// answer is sent.
    void greeted(const QHostAddress &address);

private:
    void acceptConnection();
    QByteArray answerTo(const QByteArray &request, const QHostAddress &client);

    SimulatedController &m_controller;
    QTcpServer m_server;
    quint16 m_dataPort = 0;
    int m_answerDelayMs = 0;
    int m_connections = 0;
};

} // namespace simulation
