#pragma once

#include "frame.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTimer>

#include <atomic>
#include <mutex>

class QTcpSocket;

namespace simulation {

/// Streams frames and events to every connected frontend over TCP. They are queued, and the event loop sends
/// them. A frame or event that would enlarge the queue above 16 MiB is dropped. A client is disconnected if
/// more than 4 MiB cannot be sent because it does not read.
///
/// Lives on a thread with an event loop. Only the functions that are marked as thread-safe may be called on
/// other threads.
class DataServer : public QObject
{
    Q_OBJECT

public:
    /// The maximum number of simultaneous connections. Further clients are disconnected at once.
    static constexpr int ConnectionLimit = 64;

    explicit DataServer(QObject *parent = nullptr);
    ~DataServer() override;

    /// Starts to listen; with \a port 0 the system chooses a free port. Returns false and sets \a problem to
    /// a message of one line on failure.
    bool listen(const QHostAddress &address, quint16 port, QString *problem);

    quint16 port() const { return m_server.serverPort(); }

    /// Queues the lines of \a frame and an empty line for all clients. Thread-safe.
    void sendFrame(const Frame &frame);

    /// Queues the event that the data start again. Each new client also gets this event when it connects.
    /// Thread-safe.
    void sendReset();

    /// Queues the event that the data have ended. Until the next sendReset(), each new client also gets this
    /// event when it connects; a client that connects during the call may get it twice. Thread-safe.
    void sendIdle();

    /// Queues the event \a line, which describes the Controller's state. Until the next call, each new client
    /// also gets \a line when it connects.
    void setState(const QByteArray &line);

private:
    void acceptConnection();
    void enqueue(const QByteArray &text);
    Q_INVOKABLE void flush();
    void writeToAll(const QByteArray &text);

    QTcpServer m_server;
    QTimer m_aliveTimer;
    QByteArray m_state; ///< the line that setState() has set
    QList<QTcpSocket *> m_clients;
    std::atomic<int> m_clientCount{0}; ///< size of m_clients, for other threads
    std::atomic<bool> m_isIdle{false}; ///< the data have ended

    std::mutex m_mutex; ///< guards all members below
    QByteArray m_pending;
    bool m_flushPosted = false;
};

} // namespace simulation
