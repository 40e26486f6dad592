#include "dataserver.h"

#include "networkprotocol.h"
#include "queuecall.h"

#include <QTcpSocket>

namespace simulation {

namespace {

/// A client is disconnected if more than this many bytes cannot be sent because it does not read.
constexpr qint64 unreadLimit = qint64{4} * 1024 * 1024;

/// The maximum size in bytes of the data that wait for the event loop. Frames and events that exceed it are
/// dropped.
constexpr int pendingLimit = 16 * 1024 * 1024;

} // namespace

DataServer::DataServer()
{
    connect(&m_aliveTimer, &QTimer::timeout, this,
            [this] { writeToAll(QByteArray(protocol::alive) + '\n'); });
    m_aliveTimer.start(protocol::aliveIntervalMs);
}

void DataServer::takeFrame(const Frame &frame)
{
    if (clientCount() == 0)
        return;
    QByteArray text;
    for (const DataLine &line : frame)
        text += line.text;
    enqueue(text + "\r\n");
}

void DataServer::takeReset()
{
    m_isIdle = false;
    enqueue(QByteArray(protocol::reset) + '\n');
}

void DataServer::takeIdle()
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

void DataServer::serve(QTcpSocket *client)
{
    // Discard what a client sends, so that it does not accumulate in memory.
    connect(client, &QTcpSocket::readyRead, client, [client] { client->readAll(); });
    client->write(QByteArray(protocol::reset) + '\n' + m_state + '\n');
    if (m_isIdle)
        client->write(QByteArray(protocol::idle) + '\n');
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
    const QList<QTcpSocket *> clients = findChildren<QTcpSocket *>();
    for (QTcpSocket *client : clients) {
        if (client->bytesToWrite() > unreadLimit)
            client->abort();
        else if (client->state() == QAbstractSocket::ConnectedState)
            client->write(text);
    }
}

} // namespace simulation
