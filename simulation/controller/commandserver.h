#pragma once

#include "limitedserver.h"

namespace simulation {

class SimulatedController;

/// Serves a Controller's queries and commands over TCP, one line per request and answer.
class CommandServer : public LimitedServer
{
    Q_OBJECT

public:
    /// \a controller must outlive this object. Each answer is delayed by \a answerDelayMs.
    CommandServer(SimulatedController &controller, int answerDelayMs);

    /// Sets the port of the data connections. The answer to "hello" contains this port.
    void setDataPort(quint16 port) { m_dataPort = port; }

    /// Returns the answer to \a request from \a client. Both are without a line end.
    QByteArray answerTo(const QByteArray &request, const QHostAddress &client);

signals:
    /// The client at \a address has sent "hello", as a frontend does when it connects. Emitted before the
    /// answer is sent.
    void greeted(const QHostAddress &address);

private:
    void serve(QTcpSocket *client) override;

    SimulatedController &m_controller;
    const int m_answerDelayMs;
    quint16 m_dataPort = 0;
};

} // namespace simulation
