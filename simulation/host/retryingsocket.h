#pragma once

#include <QTcpSocket>
#include <QTimer>

namespace simulation {

/// A TCP socket that connects again after every failure and every loss of the connection. Belongs to the
/// thread of its event loop.
class RetryingSocket : public QObject
{
    Q_OBJECT

public:
    explicit RetryingSocket(QObject *parent = nullptr);

    /// Connects to \a host now. An existing connection is dropped.
    void connectTo(const QString &host, quint16 port);

    /// Drops the connection for \a reason; connects again later.
    void drop(const QString &reason);

    QTcpSocket &socket() { return m_socket; }

signals:
    void connected();
    /// The connection was lost, dropped, or could not be made.
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
