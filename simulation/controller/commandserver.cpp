#include "commandserver.h"

#include "commandconnection.h"
#include "networkprotocol.h"
#include "simulatedcontroller.h"

#include <QTcpSocket>

#include <algorithm>

namespace simulation {

namespace {

bool isPrintable(const QByteArray &text)
{
    return std::all_of(text.cbegin(), text.cend(), [](char letter) {
        return static_cast<unsigned char>(letter) >= ' ' && letter != '\x7f';
    });
}

QByteArray answerText(int result, QByteArray answer)
{
    if (result != Accepted)
        return protocol::refused + QByteArray::number(result);
    // The client would take a line end within an answer for the end of the answer.
    answer.replace('\n', ' ').replace('\r', ' ');
    return answer.isEmpty() ? QByteArray(protocol::accepted) : protocol::accepted + (' ' + answer);
}

} // namespace

CommandServer::CommandServer(SimulatedController &controller, QObject *parent)
    : QObject(parent)
    , m_controller(controller)
{
    connect(&m_server, &QTcpServer::newConnection, this, &CommandServer::acceptConnection);
}

bool CommandServer::listen(const QHostAddress &address, quint16 port, QString *problem)
{
    if (m_server.listen(address, port))
        return true;
    *problem = tr("cannot listen on %1:%2: %3").arg(address.toString()).arg(port).arg(m_server.errorString());
    return false;
}

void CommandServer::acceptConnection()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        if (m_connections >= ConnectionLimit) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        ++m_connections;
        const QHostAddress client = socket->peerAddress();
        auto *connection = new CommandConnection(
            socket, [this, client](const QByteArray &request) { return answerTo(request, client); },
            m_answerDelayMs, this);
        connect(connection, &QObject::destroyed, this, [this] { --m_connections; });
    }
}

QByteArray CommandServer::answerTo(const QByteArray &request, const QHostAddress &client)
{
    QByteArray answer;
    if (!isPrintable(request))
        return answerText(NotUnderstood, {});
    if (request == protocol::hello) {
        emit greeted(client);
        return answerText(Accepted, greetingText({m_controller.state().version, m_dataPort}));
    }
    if (request.startsWith(protocol::query)) {
        const int result = m_controller.query(request.mid(int(sizeof protocol::query) - 1), &answer);
        return answerText(result, answer);
    }
    if (request.startsWith(protocol::command))
        return answerText(m_controller.command(request.mid(int(sizeof protocol::command) - 1)), {});
    return answerText(NotUnderstood, {});
}

} // namespace simulation
