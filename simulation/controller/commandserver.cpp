#include "commandserver.h"

#include "networkprotocol.h"
#include "simulatedcontroller.h"

#include <QTcpSocket>
#include <QTimer>

#include <algorithm>

namespace simulation {

namespace {

/// A client is disconnected if more than this many bytes of answers cannot be sent because it does not read.
/// The system's send buffer is set to the same size.
constexpr int unreadLimit = 64 * 1024;

bool isPrintable(const QByteArray &text)
{
    return std::all_of(text.cbegin(), text.cend(), [](char letter) {
        return static_cast<unsigned char>(letter) >= ' ' && letter != '\x7f';
    });
}

QByteArray answerText(int result, QByteArray answer = {})
{
    if (result != Accepted)
        return protocol::refused + QByteArray::number(result);
    // The client would take a line end within an answer for the end of the answer.
    answer.replace('\n', ' ').replace('\r', ' ');
    return answer.isEmpty() ? QByteArray(protocol::accepted) : protocol::accepted + (' ' + answer);
}

/// Reads the requests of one client line by line and writes one answer for each, in order and after a delay.
/// Disconnects a client that does not read its answers or sends a line that is too long.
class Conversation : public QObject
{
public:
    /// \a client, which must be connected, becomes the parent.
    Conversation(QTcpSocket *client, CommandServer &server, int answerDelayMs)
        : QObject(client)
        , m_client(client)
        , m_server(server)
    {
        // Limits the memory if a client sends without waiting for answers: TCP's flow control then stops the
        // client.
        m_client->setReadBufferSize(protocol::maximumLine);
        // If the size were not fixed, the system would buffer megabytes of unread answers.
        m_client->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, unreadLimit);
        m_delay.setSingleShot(true);
        m_delay.setTimerType(Qt::PreciseTimer);
        m_delay.setInterval(answerDelayMs);
        connect(m_client, &QTcpSocket::readyRead, this, &Conversation::readRequest);
        connect(&m_delay, &QTimer::timeout, this, &Conversation::answer);
    }

private:
    /// Reads one request and starts the delay of its answer. Only one request is read per iteration of the
    /// event loop, so that a client that sends many at once does not delay the other clients.
    void readRequest()
    {
        if (m_delay.isActive())
            return;
        if (m_client->canReadLine()) {
            m_request = m_client->readLine();
            m_delay.start();
        } else if (m_client->bytesAvailable() >= protocol::maximumLine) {
            m_client->abort(); // the line is too long
        }
    }

    void answer()
    {
        while (m_request.endsWith('\n') || m_request.endsWith('\r'))
            m_request.chop(1);
        m_client->write(m_server.answerTo(m_request, m_client->peerAddress()) + '\n');
        if (m_client->bytesToWrite() > unreadLimit)
            m_client->abort();
        else
            readRequest();
    }

    QTcpSocket *m_client;
    CommandServer &m_server;
    QTimer m_delay; ///< runs while m_request waits for its answer
    QByteArray m_request;
};

} // namespace

CommandServer::CommandServer(SimulatedController &controller, int answerDelayMs)
    : m_controller(controller)
    , m_answerDelayMs(answerDelayMs)
{
}

void CommandServer::serve(QTcpSocket *client)
{
    new Conversation(client, *this, m_answerDelayMs); // the client deletes it
}

QByteArray CommandServer::answerTo(const QByteArray &request, const QHostAddress &client)
{
    QByteArray answer;
    if (!isPrintable(request))
        return answerText(NotUnderstood);
    if (request == protocol::hello) {
        emit greeted(client);
        return answerText(Accepted, greetingText({m_controller.state().version, m_dataPort}));
    }
    if (request.startsWith(protocol::query)) {
        const int result = m_controller.query(request.mid(int(sizeof protocol::query) - 1), &answer);
        return answerText(result, answer);
    }
    if (request.startsWith(protocol::command))
        return answerText(m_controller.command(request.mid(int(sizeof protocol::command) - 1)));
    return answerText(NotUnderstood);
}

} // namespace simulation
