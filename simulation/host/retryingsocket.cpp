#include "retryingsocket.h"

namespace simulation {

namespace {

constexpr int retryIntervalMs = 500;
constexpr int connectTimeoutMs = 2000;

} // namespace

RetryingSocket::RetryingSocket(QObject *parent)
    : QObject(parent)
    , m_socket(this)
    , m_retryTimer(this)
    , m_connectTimer(this)
{
    m_retryTimer.setSingleShot(true);
    m_retryTimer.setInterval(retryIntervalMs);
    m_connectTimer.setSingleShot(true);
    m_connectTimer.setInterval(connectTimeoutMs);
    connect(&m_retryTimer, &QTimer::timeout, this, &RetryingSocket::connectNow);
    connect(&m_connectTimer, &QTimer::timeout, this, [this] { drop(tr("the connection timed out")); });
    connect(&m_socket, &QTcpSocket::connected, this, [this] {
        m_connectTimer.stop();
        m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        emit connected();
    });
    connect(&m_socket, &QTcpSocket::readyRead, this, &RetryingSocket::readyRead);
    connect(&m_socket, &QTcpSocket::errorOccurred, this, [this] { drop(m_socket.errorString()); });
}

void RetryingSocket::connectTo(const QString &host, quint16 port)
{
    m_host = host;
    m_port = port;
    connectNow();
}

void RetryingSocket::drop(const QString &reason)
{
    if (m_retryTimer.isActive())
        return;
    m_connectTimer.stop();
    // Start the timer before emitting failed(): if a slot calls this function, the nested call does nothing.
    m_retryTimer.start();
    m_socket.abort();
    emit failed(reason);
}

void RetryingSocket::connectNow()
{
    m_retryTimer.stop();
    m_socket.abort();
    m_socket.connectToHost(m_host, m_port);
    m_connectTimer.start();
}

} // namespace simulation
