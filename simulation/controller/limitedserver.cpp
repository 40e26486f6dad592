#include "limitedserver.h"

#include <QTcpSocket>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace simulation {

namespace {

/// Makes the system end a connection whose other side does not answer: Qt has no option for the times.
void endWhenUnreachable(qintptr descriptor)
{
    struct Option
    {
        int level, name, value;
    };
    constexpr Option options[] = {
        {SOL_SOCKET, SO_KEEPALIVE, 1},
        {IPPROTO_TCP, TCP_KEEPIDLE, 4},  // seconds without data until the first probe
        {IPPROTO_TCP, TCP_KEEPINTVL, 2}, // seconds between two probes
        {IPPROTO_TCP, TCP_KEEPCNT, 3},
        // No probe is sent while data wait for their confirmation.
        {IPPROTO_TCP, TCP_USER_TIMEOUT, 10000}};
    for (const Option &option : options)
        setsockopt(int(descriptor), option.level, option.name, &option.value, sizeof option.value);
}

} // namespace

bool LimitedServer::listenOn(const QHostAddress &address, quint16 port, QString *problem)
{
    if (listen(address, port))
        return true;
    *problem = tr("cannot listen on %1:%2: %3").arg(address.toString()).arg(port).arg(errorString());
    return false;
}

void LimitedServer::incomingConnection(qintptr descriptor)
{
    auto *client = new QTcpSocket(this);
    if (!client->setSocketDescriptor(descriptor) || m_clientCount >= ConnectionLimit) {
        delete client;
        return;
    }
    endWhenUnreachable(descriptor);
    client->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    ++m_clientCount;
    connect(client, &QTcpSocket::disconnected, this, [this, client] {
        --m_clientCount;
        client->deleteLater();
    });
    serve(client);
}

} // namespace simulation
