#include "commandclient.h"

#include <chrono>

namespace simulation {

namespace {

/// Returns whether \a text can be sent as one line: it contains no character below the blank, and with the
/// line end it is not longer than the protocol allows.
bool isOneLine(const QByteArray &text)
{
    for (const char letter : text) {
        if (static_cast<unsigned char>(letter) < ' ')
            return false;
    }
    return text.size() < protocol::maximumLine;
}

/// Returns the result that an answer line contains, or -1 if the line is malformed. With result 0, sets
/// \a answer to the rest of the line.
int parseAnswer(const QByteArray &line, QByteArray *answer)
{
    constexpr int refused = -1;
    if (line == protocol::accepted || line.startsWith(protocol::accepted + QByteArray(" "))) {
        *answer = line.mid(int(sizeof protocol::accepted));
        return 0;
    }
    const int result = line.mid(int(sizeof protocol::refused) - 1).split(' ').constFirst().toInt();
    return line.startsWith(protocol::refused) && result != 0 ? result : refused;
}

/// Returns a deep copy of \a text for another thread. ThreadSanitizer does not see the reference counting
/// inside the Qt library and would report a data race on a shared QString.
QString unshared(const QString &text)
{
    return QString(text.constData(), text.size());
}

} // namespace

CommandClient::CommandClient(const QString &host, quint16 port, QObject *parent)
    : QObject(parent)
    , m_host(host)
    , m_port(port)
    , m_problem(tr("the Controller does not answer"))
{
    m_thread.post([this] { createSocket(); });
}

CommandClient::~CommandClient()
{
    m_thread.post([this] { delete m_socket; });
    m_thread.stop();
}

void CommandClient::start()
{
    m_thread.post([this] { m_socket->connectTo(m_host, m_port); });
}

void CommandClient::createSocket()
{
    m_socket = new RetryingSocket;
    m_greetingTimer = new QTimer(m_socket);
    m_greetingTimer->setSingleShot(true);
    m_greetingTimer->setInterval(AnswerTimeoutMs);
    connect(m_greetingTimer, &QTimer::timeout, m_socket,
            [this] { m_socket->drop(tr("the Controller does not answer")); });
    connect(m_socket, &RetryingSocket::connected, m_socket, [this] { onConnected(); });
    connect(m_socket, &RetryingSocket::failed, m_socket, [this](const QString &reason) { onFailed(reason); });
    connect(m_socket, &RetryingSocket::readyRead, m_socket, [this] { onReadyRead(); });
}

bool CommandClient::waitForConnected(int milliseconds)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds),
                              [this] { return m_isConnected; });
}

bool CommandClient::isConnected() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_isConnected;
}

Greeting CommandClient::greeting() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_greeting;
}

QString CommandClient::problem() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return unshared(m_problem);
}

int CommandClient::query(const QByteArray &text, QByteArray *answer)
{
    Exchange exchange{Exchange::Kind::Query, text, "", 0};
    exchange.result = request(protocol::query + text, &exchange.answer);
    if (exchange.result == 0)
        *answer = exchange.answer;
    emit exchanged(exchange);
    return exchange.result;
}

int CommandClient::command(const QByteArray &text)
{
    Exchange exchange{Exchange::Kind::Command, text, {}, 0};
    QByteArray answer;
    exchange.result = request(protocol::command + text, &answer);
    emit exchanged(exchange);
    return exchange.result;
}

/// Sends \a line. Returns the result in the Controller's answer, NotConnected, TimedOut, or -1 if \a line
/// cannot be sent or the answer is malformed. With result 0, sets \a answer to the text of the answer.
int CommandClient::request(const QByteArray &line, QByteArray *answer)
{
    constexpr int refused = -1;
    if (!isOneLine(line))
        return refused;
    const std::lock_guard<std::mutex> requestLock(m_requestMutex);
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_isConnected)
        return NotConnected;
    m_isAnswered = false;
    m_thread.post([this, line] { m_socket->socket().write(line + '\n'); });
    m_changed.wait_for(lock, std::chrono::milliseconds(AnswerTimeoutMs),
                       [this] { return m_isAnswered || !m_isConnected; });
    if (m_isAnswered)
        return parseAnswer(m_answer, answer);
    if (!m_isConnected)
        return NotConnected;
    m_isConnected = false;
    m_thread.post([this] { m_socket->drop(tr("the Controller does not answer")); });
    return TimedOut;
}

void CommandClient::onConnected()
{
    m_socket->socket().write(QByteArray(protocol::hello) + '\n');
    m_greetingTimer->start();
}

void CommandClient::onFailed(const QString &reason)
{
    m_greetingTimer->stop();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isConnected = false;
        m_problem = unshared(reason);
    }
    m_changed.notify_all();
    m_owner.post([this, text = unshared(reason)] { emit disconnected(text); });
}

void CommandClient::onReadyRead()
{
    QTcpSocket &socket = m_socket->socket();
    while (socket.canReadLine()) {
        const QByteArray line = socket.readLine().trimmed();
        if (!isConnected()) {
            takeGreeting(line);
            continue;
        }
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_answer = line;
            m_isAnswered = true;
        }
        m_changed.notify_all();
    }
    if (socket.bytesAvailable() >= protocol::maximumLine)
        m_socket->drop(tr("the Controller sent an answer that is too long"));
}

void CommandClient::takeGreeting(const QByteArray &line)
{
    Greeting greeting;
    QByteArray text;
    if (parseAnswer(line, &text) != 0 || !parseGreeting(text, &greeting)) {
        m_socket->drop(tr("the server is not a Controller"));
        return;
    }
    m_greetingTimer->stop();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_greeting = greeting;
        m_isConnected = true;
    }
    m_changed.notify_all();
    m_owner.post([this, greeting] { emit connected(greeting); });
}

} // namespace simulation
