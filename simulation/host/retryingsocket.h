#pragma once

#include <QTcpSocket>
#include <QTimer>

namespace simulation {

/// A TCP socket that connects again after every failure and every loss of the connection. Call its functions
/// only on the thread that created it, which must run an event loop.
class RetryingSocket : public QObject
{
    Q_OBJECT

public:
    explicit RetryingSocket(QObject *parent = nullptr);

    /// Connects to \a host now. An existing connection is dropped.
    void connectTo(const QString &host, quint16 port);

    /// Drops the connection, emits failed() with \a reason, and connects again half a second later. Does
    /// nothing if that is already pending.
    void drop(const QString &reason);

    QTcpSocket &socket() { return m_socket; }

signals:
    void connected();
    /// The connection was lost or dropped, or could not be established.
    void failed(const QString &reason);
    void readyRead();

private:
    void connectNow();

    QTcpSocket m_socket;
    QTimer m_retryTimer;
    QTimer m_connectTimer;
    QString m_host;
    quint16 m_port = 0;
};

} // namespace simulation
