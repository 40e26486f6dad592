#include "commandconnection.h"

#include "controllerlanguage.h"
#include "networkprotocol.h"

#include <QTcpSocket>

namespace simulation {

namespace {

/// A client is disconnected if more than this many bytes of answers cannot be sent because it does not read.
/// The system's send buffer is set to the same size.
constexpr int unreadLimit = 64 * 1024;

constexpr int closingTimeoutMs = 2000;

} // namespace

CommandConnection::CommandConnection(QTcpSocket *socket, Handler handler, int answerDelayMs, QObject *parent)
    : QObject(parent)
    , m_socket(socket)
    , m_handler(std::move(handler))
{
    m_socket->setParent(this);
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    // Limits the memory if a client sends without waiting for answers: TCP's flow control then stops the
    // client.
    m_socket->setReadBufferSize(protocol::maximumLine);
    // If the size were not fixed, the system would buffer megabytes of unread answers.
    m_socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, unreadLimit);
    m_delay.setSingleShot(true);
    m_delay.setTimerType(Qt::PreciseTimer);
    m_delay.setInterval(answerDelayMs);
    connect(m_socket, &QTcpSocket::readyRead, this, &CommandConnection::readRequest);
    connect(m_socket, &QTcpSocket::disconnected, this, &QObject::deleteLater);
    connect(&m_delay, &QTimer::timeout, this, &CommandConnection::answer);
    readRequest();
}

/// Reads one request and starts the delay of its answer. Only one request is read per iteration of the event
/// loop, so that a client that sends many at once does not delay the other clients.
void CommandConnection::readRequest()
{
    if (m_closing || m_delay.isActive())
        return;
    if (m_socket->canReadLine()) {
        m_request = m_socket->readLine();
        m_delay.start();
    } else if (m_socket->bytesAvailable() >= protocol::maximumLine) {
        refuseAndClose("line too long");
    }
}

void CommandConnection::answer()
{
    while (m_request.endsWith('\n') || m_request.endsWith('\r'))
        m_request.chop(1);
    write(m_handler(m_request));
    if (m_socket->bytesToWrite() > unreadLimit)
        m_socket->abort();
    else
        readRequest();
}

void CommandConnection::write(const QByteArray &text)
{
    m_socket->write(text + '\n');
}

void CommandConnection::refuseAndClose(const QByteArray &text)
{
    m_closing = true;
    write(protocol::refused + QByteArray::number(NotUnderstood) + ' ' + text);
    m_socket->disconnectFromHost();
    // disconnectFromHost() closes the connection only when the answer has been sent. A client that does not
    // read would keep it open indefinitely.
    QTimer::singleShot(closingTimeoutMs, m_socket, &QTcpSocket::abort);
}

} // namespace simulation
