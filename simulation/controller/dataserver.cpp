#include "dataserver.h"

#include "networkprotocol.h"
#include "queuedcall.h"

#include <QTcpSocket>

namespace simulation {

namespace {

/// A client is disconnected if more than this many bytes cannot be sent because it does not read.
constexpr qint64 unreadLimit = qint64{4} * 1024 * 1024;

/// The maximum size in bytes of the data that wait for the event loop. Frames and events that exceed it are
/// dropped.
constexpr int pendingLimit = 16 * 1024 * 1024;

} // namespace

DataServer::DataServer(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, &DataServer::acceptConnection);
    connect(&m_aliveTimer, &QTimer::timeout, this,
            [this] { writeToAll(QByteArray(protocol::alive) + '\n'); });
    m_aliveTimer.start(protocol::aliveIntervalMs);
}

DataServer::~DataServer()
{
    // m_server deletes the sockets, which then emit disconnected(). The function connected to this signal
    // uses m_clients, which is destroyed before m_server.
    for (QTcpSocket *client : qAsConst(m_clients))
        client->disconnect(this);
}

bool DataServer::listen(const QHostAddress &address, quint16 port, QString *problem)
{
    if (m_server.listen(address, port))
        return true;
    *problem = tr("cannot listen on %1:%2: %3").arg(address.toString()).arg(port).arg(m_server.errorString());
    return false;
}

void DataServer::sendFrame(const Frame &frame)
{
    if (m_clientCount == 0)
        return;
    QByteArray text;
    for (const DataLine &line : frame)
        text += line.text;
    enqueue(text + "\r\n");
}

void DataServer::sendReset()
{
    m_isIdle = false;
    enqueue(QByteArray(protocol::reset) + '\n');
}

void DataServer::sendIdle()
{
    // Set the flag first, so that a client that connects now gets the event at least once.
    m_isIdle = true;
    enqueue(QByteArray(protocol::idle) + '\n');
}

void DataServer::setState(const QByteArray &line)
{
    m_state = line;
    enqueue(line + '\n');
}

void DataServer::acceptConnection()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        if (m_clients.size() >= ConnectionLimit) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_clients.removeAll(socket);
            m_clientCount = m_clients.size();
        });
        // Discard what a client sends, so that it does not accumulate in memory.
        connect(socket, &QTcpSocket::readyRead, socket, [socket] { socket->readAll(); });
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket->write(QByteArray(protocol::reset) + '\n' + m_state + '\n');
        if (m_isIdle)
            socket->write(QByteArray(protocol::idle) + '\n');
        m_clients.append(socket);
        m_clientCount = m_clients.size();
    }
}

/// Appends \a text to the data that flush() sends. \a text must be a whole frame or event, so that the first
/// data of a client that connects between two flushes are not a part of a frame.
void DataServer::enqueue(const QByteArray &text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_pending.size() + text.size() > pendingLimit)
        return;
    // Copy the bytes. Appending the QByteArray itself to an empty one would share its data between two
    // threads; ThreadSanitizer does not see that Qt's reference counts are atomic.
    m_pending.append(text.constData(), text.size());
    if (!m_flushPosted)
        queueCall(this, "flush");
    m_flushPosted = true;
}

/// Sends the pending data to all clients. Runs on the thread of the event loop.
void DataServer::flush()
{
    QByteArray text;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_pending.swap(text);
        m_flushPosted = false;
    }
    writeToAll(text);
}

void DataServer::writeToAll(const QByteArray &text)
{
    // Iterate over a copy, because abort() removes the client from m_clients.
    const QList<QTcpSocket *> clients = m_clients;
    for (QTcpSocket *client : clients) {
        if (client->bytesToWrite() > unreadLimit)
            client->abort();
        else
            client->write(text);
    }
}

} // namespace simulation
