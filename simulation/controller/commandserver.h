#pragma once

#include <QHostAddress>
#include <QTcpServer>

namespace simulation {

class SimulatedController;

/// Serves a Controller's queries and commands over TCP, one line per request and answer. Belongs to the
/// thread of its event loop.
class CommandServer : public QObject
{
    Q_OBJECT

public:
    /// Further clients are refused.
    static constexpr int ConnectionLimit = 64;

    explicit CommandServer(SimulatedController &controller, QObject *parent = nullptr);

    /// Starts to listen; with \a port 0 the system chooses a free one. Returns false and sets \a problem on
    /// failure.
    bool listen(const QHostAddress &address, quint16 port, QString *problem);

    quint16 port() const { return m_server.serverPort(); }

    /// The port that clients are told for the data.
    void setDataPort(quint16 port) { m_dataPort = port; }

    /// Applies to clients that connect later.
    void setAnswerDelay(int milliseconds) { m_answerDelayMs = milliseconds; }

signals:
    /// A frontend has introduced itself from \a address.
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
