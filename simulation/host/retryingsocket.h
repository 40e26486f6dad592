#pragma once

#include <QTcpSocket>
#include <QTimer>

namespace simulation {

/// A TCP socket that connects again after every failed attempt and every loss of the connection. An attempt
/// fails after two seconds at the latest. Call the functions only on the thread that created the object,
/// which must run an event loop.
class RetryingSocket : public QObject
{
    Q_OBJECT

public:
    explicit RetryingSocket(QObject *parent = nullptr);

    /// Starts to connect to \a port of \a host. Drops an existing connection without emitting failed().
    void connectTo(const QString &host, quint16 port);

    /// Drops the connection, emits failed() with \a reason, and starts to connect again half a second later.
    /// Does nothing during this half second.
    void drop(const QString &reason);

    /// Returns the socket for reading and writing.
    QTcpSocket &socket() { return m_socket; }

signals:
    void connected();
    /// The connection was lost or dropped, or could not be established.
    void failed(const QString &reason);
    void readyRead();

private:
    void connectNow();

    QTcpSocket m_socket;
    QTimer m_retryTimer;   ///< runs from a failure to the next attempt
    QTimer m_connectTimer; ///< runs during an attempt
    QString m_host;
    quint16 m_port = 0;
};

} // namespace simulation
