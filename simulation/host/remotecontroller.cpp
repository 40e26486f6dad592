#include "remotecontroller.h"

#include <QDeadlineTimer>
#include <QEventLoop>

#include <algorithm>

namespace simulation {

namespace {

constexpr int retryIntervalMs = 500;

/// Returns whether \a text can be sent as one line: it contains no character below the blank, and with the
/// line end it is not longer than the protocol allows.
bool isOneLine(const QByteArray &text)
{
    return text.size() < protocol::maximumLine && std::none_of(text.cbegin(), text.cend(), [](char letter) {
               return static_cast<unsigned char>(letter) < ' ';
           });
}

/// Returns the result that an answer line contains, or Failed if the line is malformed. If the result is
/// Accepted, sets \a answer to the rest of the line.
int parseAnswer(const QByteArray &line, QByteArray *answer)
{
    if (line == protocol::accepted || line.startsWith(protocol::accepted + QByteArray(" "))) {
        *answer = line.mid(int(sizeof protocol::accepted));
        return Accepted;
    }
    const int result = line.mid(int(sizeof protocol::refused) - 1).split(' ').constFirst().toInt();
    return line.startsWith(protocol::refused) && result != Accepted ? result : int(Failed);
}

} // namespace

RemoteController::RemoteController(const QString &host, quint16 port, QObject *parent)
    : QObject(parent)
    , m_host(host)
    , m_port(port)
    , m_problem(tr("the Controller does not answer"))
{
    m_retryTimer.setSingleShot(true);
    m_retryTimer.setInterval(retryIntervalMs);
    m_limitTimer.setSingleShot(true);
    m_limitTimer.setInterval(AnswerTimeoutMs);
    // Longer lines stay in the system's buffers, so that they cannot take up memory.
    m_socket.setReadBufferSize(protocol::maximumLine);
    connect(&m_retryTimer, &QTimer::timeout, this, &RemoteController::start);
    connect(&m_limitTimer, &QTimer::timeout, this, [this] { drop(tr("the Controller does not answer")); });
    connect(&m_socket, &QTcpSocket::connected, this, [this] {
        m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_socket.write(QByteArray(protocol::hello) + '\n');
    });
    connect(&m_socket, &QTcpSocket::readyRead, this, &RemoteController::onReadyRead);
    // A request itself handles the errors that occur while it waits.
    connect(&m_socket, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError error) {
        if (!m_isWaiting && error != QAbstractSocket::SocketTimeoutError)
            drop(m_socket.errorString());
    });
}

RemoteController::~RemoteController()
{
    m_socket.disconnect(this);
}

bool RemoteController::waitForConnected(int milliseconds)
{
    QEventLoop loop;
    connect(this, &RemoteController::connected, &loop, &QEventLoop::quit);
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    if (!m_isConnected)
        loop.exec();
    return m_isConnected;
}

int RemoteController::query(const QByteArray &text, QByteArray *answer)
{
    Exchange exchange{Exchange::Kind::Query, text, "", Accepted};
    exchange.result = request(protocol::query + text, &exchange.answer);
    if (exchange.result == Accepted)
        *answer = exchange.answer;
    emit exchanged(exchange);
    return exchange.result;
}

int RemoteController::command(const QByteArray &text)
{
    QByteArray answer;
    const Exchange exchange{Exchange::Kind::Command, text, {}, request(protocol::command + text, &answer)};
    emit exchanged(exchange);
    return exchange.result;
}

/// Sends \a line and waits for the answer. Returns a CommandResult, which is Failed if \a line cannot be sent
/// or the answer is malformed. If the result is Accepted, sets \a answer to the text of the answer.
int RemoteController::request(const QByteArray &line, QByteArray *answer)
{
    if (!isOneLine(line))
        return Failed;
    // Takes in what has arrived since the last answer: onReadyRead() drops the connection if it is a line.
    if (m_isConnected)
        m_socket.waitForReadyRead(0);
    if (!m_isConnected)
        return NotConnected;
    m_isWaiting = true;
    m_socket.write(line + '\n');
    const QDeadlineTimer limit(AnswerTimeoutMs);
    while (!m_socket.canReadLine() && m_socket.bytesAvailable() < protocol::maximumLine &&
           m_socket.waitForReadyRead(int(limit.remainingTime()))) {
    }
    m_isWaiting = false;
    const bool isAnswered = m_socket.canReadLine();
    const QByteArray reply = isAnswered ? m_socket.readLine().trimmed() : QByteArray();
    if (m_socket.state() != QAbstractSocket::ConnectedState)
        drop(m_socket.errorString());
    else if (isAnswered || m_socket.bytesAvailable() >= protocol::maximumLine)
        onReadyRead(); // drops the connection if more than the answer has arrived
    else
        drop(tr("the Controller does not answer"));
    if (isAnswered)
        return parseAnswer(reply, answer);
    return limit.hasExpired() ? TimedOut : NotConnected;
}

void RemoteController::start()
{
    m_limitTimer.start();
    m_socket.connectToHost(m_host, m_port);
}

/// Ends the connection or the attempt to connect, and starts to connect again half a second later.
void RemoteController::drop(const QString &reason)
{
    if (m_retryTimer.isActive())
        return;
    m_isConnected = false;
    m_problem = reason;
    m_limitTimer.stop();
    // Start the timer before abort(): an error that it reports calls this function again, without effect.
    m_retryTimer.start();
    m_socket.abort();
    emit disconnected(reason);
}

void RemoteController::onReadyRead()
{
    if (m_isWaiting)
        return;
    if (!m_isConnected && m_socket.canReadLine())
        takeGreeting();
    if (m_socket.bytesAvailable() >= protocol::maximumLine)
        drop(tr("the Controller sent an answer that is too long"));
    else if (m_isConnected && m_socket.bytesAvailable() > 0)
        drop(tr("the Controller sent an answer without a request"));
}

void RemoteController::takeGreeting()
{
    QByteArray text;
    if (parseAnswer(m_socket.readLine().trimmed(), &text) != Accepted || !parseGreeting(text, &m_greeting)) {
        drop(tr("the server is not a Controller"));
        return;
    }
    m_limitTimer.stop();
    m_isConnected = true;
    emit connected(m_greeting);
}

} // namespace simulation
