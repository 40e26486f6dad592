#include "dataclient.h"

#include "networkprotocol.h"
#include "queuecall.h"

#include <QElapsedTimer>
#include <QTcpSocket>

#include <chrono>

namespace simulation {

namespace {

constexpr int connectTimeoutMs = 2000;
constexpr std::chrono::milliseconds retryInterval(500);

/// How soon the thread notices a call of stop() or connectTo() while no data arrive.
constexpr int pollIntervalMs = 50;

/// A Controller sends at least one line per second, also while it sends no frames.
constexpr int silenceLimitMs = 3 * protocol::aliveIntervalMs;

/// These limits bound the memory that a server can use up by never sending the end of a frame.
constexpr int maximumLinesPerFrame = 10000;
constexpr int maximumBytesPerFrame = 16 * 1024 * 1024;

} // namespace

DataClient::DataClient(FrameSink &sink)
    : m_sink(sink)
{
}

DataClient::~DataClient()
{
    stop();
}

void DataClient::connectTo(const QHostAddress &address, quint16 port)
{
    if (m_isStopped)
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_address != address || m_port != port)
        m_isMoved = true;
    m_address = address;
    m_port = port;
    if (!m_thread.joinable())
        m_thread = std::thread([this] { run(); });
}

void DataClient::stop()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isStopped = true;
    }
    m_stopped.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void DataClient::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_isStopped) {
        m_isMoved = false;
        const QHostAddress address(m_address.toIPv4Address());
        const quint16 port = m_port;
        lock.unlock();
        {
            QTcpSocket socket;
            socket.setReadBufferSize(protocol::maximumDataLine);
            socket.connectToHost(address, port);
            if (socket.waitForConnected(connectTimeoutMs))
                receive(socket);
        }
        lock.lock();
        m_stopped.wait_for(lock, retryInterval, [this] { return m_isStopped || m_isMoved; });
    }
}

/// Takes the data of one connection until it ends.
void DataClient::receive(QTcpSocket &socket)
{
    m_frame.clear();
    m_frameBytes = 0;
    QElapsedTimer silence;
    silence.start();
    while (!m_isStopped && !m_isMoved && silence.elapsed() < silenceLimitMs) {
        if (socket.canReadLine()) {
            silence.start();
            if (!takeLine(socket.readLine()))
                return;
        } else if (socket.bytesAvailable() >= protocol::maximumDataLine) {
            qWarning("the Controller sent a line that is too long");
            return;
        } else if (!socket.waitForReadyRead(pollIntervalMs) &&
                   socket.state() != QAbstractSocket::ConnectedState) {
            return;
        }
    }
}

/// Returns false if the connection must end because the frame is too long.
bool DataClient::takeLine(const QByteArray &line)
{
    const QByteArray text = withoutLineEnd(line);
    if (text.startsWith('#')) {
        takeEvent(text);
        return true;
    }
    if (!text.isEmpty()) {
        m_frame.append({lineType(text), text + "\r\n"});
        m_frameBytes += line.size();
        if (m_frame.size() <= maximumLinesPerFrame && m_frameBytes <= maximumBytesPerFrame)
            return true;
        qWarning("the Controller sent a frame that is too long");
        return false;
    }
    m_sink.takeFrame(m_frame);
    m_frame.clear();
    m_frameBytes = 0;
    return true;
}

void DataClient::takeEvent(const QByteArray &line)
{
    ControllerState state;
    if (line == protocol::reset) {
        m_frame.clear();
        m_frameBytes = 0;
        m_sink.takeReset();
        addNews([](News &news) {
            news.wasReset = true;
            news.hasEnded = false;
        });
    } else if (line == protocol::idle) {
        m_sink.takeIdle();
        addNews([](News &news) { news.hasEnded = true; });
    } else if (line.startsWith(protocol::state) &&
               parseState(line.mid(int(sizeof protocol::state) - 1), &state)) {
        addNews([&state](News &news) { news.state = std::move(state); });
    }
}

template <typename Edit>
void DataClient::addNews(Edit edit)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    edit(m_news);
    if (!m_hasNews)
        queueCall(this, "reportNews");
    m_hasNews = true;
}

void DataClient::reportNews()
{
    News news;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::swap(news, m_news);
        m_hasNews = false;
    }
    if (news.state)
        emit stateReceived(*news.state);
    if (news.wasReset)
        emit wasReset();
    if (news.hasEnded)
        emit finished();
}

} // namespace simulation
