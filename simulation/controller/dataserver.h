#pragma once

#include "frame.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTimer>

#include <atomic>
#include <mutex>

class QTcpSocket;

namespace simulation {

/// Streams frames and events to every connected frontend over TCP. Belongs to the thread of its event loop,
/// except for the functions marked thread-safe.
class DataServer : public QObject
{
    Q_OBJECT

public:
    /// Further clients are refused.
    static constexpr int ConnectionLimit = 64;

    explicit DataServer(QObject *parent = nullptr);
    ~DataServer() override;

    /// As in CommandServer.
    bool listen(const QHostAddress &address, quint16 port, QString *problem);
    quint16 port() const { return m_server.serverPort(); }

    /// Sends the lines of \a frame. Thread-safe.
    void sendFrame(const Frame &frame);

    /// Sends one line, such as protocol::reset. Thread-safe.
    void sendEvent(const QByteArray &line);

    /// Sends the event \a line to all clients, and to each later one when it connects.
    void setState(const QByteArray &line);

private:
    void acceptConnection();
    void enqueue(const QByteArray &text);
    Q_INVOKABLE void flush();
    void writeToAll(const QByteArray &text);

    QTcpServer m_server;
    QTimer m_aliveTimer;
    QByteArray m_state;
    QList<QTcpSocket *> m_clients;
    std::atomic<int> m_clientCount{0};

    std::mutex m_mutex; ///< guards all members below
    QByteArray m_pending;
    bool m_flushPosted = false;
};

} // namespace simulation
