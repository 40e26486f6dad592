#include "dataclient.h"

#include "networkprotocol.h"

namespace simulation {

namespace {

/// A Controller sends at least one line per second, also while it sends no frames.
constexpr int silenceLimitMs = 3 * protocol::aliveIntervalMs;

/// Bounds the memory that a server can use up by never sending the end of a frame.
constexpr int maximumLinesPerFrame = 10000;

} // namespace

DataClient::DataClient(FrameSink &sink, QObject *parent)
    : QObject(parent)
    , m_sink(sink)
{
    m_thread.post([this] { createSocket(); });
}

DataClient::~DataClient()
{
    stop();
}

void DataClient::connectTo(const QString &host, quint16 port)
{
    if (m_isStopped)
        return;
    m_thread.post([this, host, port] {
        m_frame.clear();
        m_socket->connectTo(host, port);
    });
}

void DataClient::stop()
{
    if (m_isStopped)
        return;
    m_isStopped = true;
    m_thread.post([this] { delete m_socket; });
    m_thread.stop();
}

void DataClient::createSocket()
{
    m_socket = new RetryingSocket;
    m_silenceTimer = new QTimer(m_socket);
    m_silenceTimer->setSingleShot(true);
    m_silenceTimer->setInterval(silenceLimitMs);
    connect(m_socket, &RetryingSocket::connected, m_silenceTimer, QOverload<>::of(&QTimer::start));
    connect(m_socket, &RetryingSocket::failed, m_silenceTimer, &QTimer::stop);
    connect(m_socket, &RetryingSocket::failed, m_socket, [this] { m_frame.clear(); });
    connect(m_socket, &RetryingSocket::readyRead, m_socket, [this] { onReadyRead(); });
    connect(m_silenceTimer, &QTimer::timeout, m_socket,
            [this] { m_socket->drop(tr("no data for too long")); });
}

void DataClient::onReadyRead()
{
    QTcpSocket &socket = m_socket->socket();
    m_silenceTimer->start();
    while (socket.canReadLine())
        takeLine(socket.readLine());
    if (socket.bytesAvailable() >= protocol::maximumDataLine || m_frame.size() > maximumLinesPerFrame)
        m_socket->drop(tr("the Controller sent a line or a frame that is too long"));
}

void DataClient::takeLine(const QByteArray &line)
{
    const QByteArray text = withoutLineEnd(line);
    if (text.startsWith('#')) {
        takeEvent(text);
    } else if (!text.isEmpty()) {
        m_frame.append({lineType(text), text + "\r\n"});
    } else {
        m_sink.takeFrame(m_frame);
        m_frame.clear();
    }
}

void DataClient::takeEvent(const QByteArray &line)
{
    ControllerState state;
    if (line == protocol::reset) {
        m_frame.clear();
        m_sink.takeReset();
        m_owner.post([this] { emit wasReset(); });
    } else if (line == protocol::idle) {
        m_sink.takeIdle();
        m_owner.post([this] { emit finished(); });
    } else if (line.startsWith(protocol::state) &&
               parseState(line.mid(int(sizeof protocol::state) - 1), &state)) {
        m_owner.post([this, state] { emit stateReceived(state); });
    }
}

} // namespace simulation
