#pragma once

#include "framesink.h"
#include "limitedserver.h"

#include <QTimer>

#include <mutex>

namespace simulation {

/// Streams frames and events to every connected frontend over TCP. They are queued, and the event loop sends
/// them. A frame or event that would enlarge the queue above 16 MiB is dropped. A client is disconnected if
/// more than 4 MiB cannot be sent because it does not read.
///
/// Only the functions that are marked as thread-safe may be called on other threads.
class DataServer : public LimitedServer, public FrameSink
{
    Q_OBJECT

public:
    DataServer();

    /// Queues the lines of \a frame and an empty line for all clients. Thread-safe.
    void takeFrame(const Frame &frame) override;

    /// Queues the event that the data start again, which each new client also gets when it connects.
    /// Thread-safe.
    void takeReset() override;

    /// Queues the event that the data have ended. Until the next takeReset(), each new client also gets this
    /// event when it connects; a client that connects during the call may get it twice. Thread-safe.
    void takeIdle() override;

    /// Queues the event \a line, which describes the Controller's state. Until the next call, each new client
    /// also gets \a line when it connects.
    void setState(const QByteArray &line);

private:
    void serve(QTcpSocket *client) override;
    void enqueue(const QByteArray &text);
    Q_INVOKABLE void flush();
    void writeToAll(const QByteArray &text);

    QTimer m_aliveTimer;
    QByteArray m_state;                ///< the line that setState() has set
    std::atomic<bool> m_isIdle{false}; ///< the data have ended

    std::mutex m_mutex; ///< guards all members below
    QByteArray m_pending;
    bool m_flushPosted = false;
};

} // namespace simulation
