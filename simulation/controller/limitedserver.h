#pragma once

#include <QHostAddress>
#include <QTcpServer>

#include <atomic>

class QTcpSocket;

namespace simulation {

/// A TCP server for at most ConnectionLimit simultaneous clients: further ones are disconnected at once. A
/// client that cannot be reached any more is disconnected after about ten seconds. Lives on a thread with an
/// event loop; not thread-safe, except for clientCount().
class LimitedServer : public QTcpServer
{
    Q_OBJECT

public:
    static constexpr int ConnectionLimit = 64;

    using QTcpServer::QTcpServer;

    /// Starts to listen; with \a port 0 the system chooses a free port. Returns false and sets \a problem to
    /// a message of one line on failure.
    bool listenOn(const QHostAddress &address, quint16 port, QString *problem);

protected:
    int clientCount() const { return m_clientCount; }

    /// Serves \a client, which is a child of this object and is deleted after it has been disconnected.
    virtual void serve(QTcpSocket *client) = 0;

private:
    void incomingConnection(qintptr descriptor) override;

    std::atomic<int> m_clientCount{0};
};

} // namespace simulation
