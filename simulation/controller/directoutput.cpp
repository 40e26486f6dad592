#include "directoutput.h"

#include "frameledger.h"

#include <QUdpSocket>

namespace simulation {

QByteArray datagramOf(const Frame &frame, const Expectation &content)
{
    // The largest payload of a UDP datagram over IPv4.
    constexpr int maximumPayload = 65507;
    if (!content.types.contains("fr") || !isDue(frameNumber(frame), content.divisor))
        return {};
    QByteArray datagram;
    for (const DataLine &line : frame) {
        if (content.types.contains(line.type))
            datagram += withoutLineEnd(line.text) + "\r\n";
    }
    return datagram.size() > maximumPayload ? QByteArray() : datagram;
}

DirectOutput::DirectOutput(Reach reach)
    : m_reach(reach)
{
}

DirectOutput::~DirectOutput() = default;

void DirectOutput::follow(const ChannelRoutes &routes)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_routes = routes;
}

void DirectOutput::send(const Frame &frame)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (size_t i = 0; i < m_routes.size(); ++i) {
        const ChannelRoute &route = m_routes[i];
        if (!route.content.active || route.content.viaRouter || !route.isReachable())
            continue;
        const QByteArray datagram = datagramOf(frame, route.content);
        if (!datagram.isEmpty())
            socket(i).writeDatagram(datagram, QHostAddress(route.address), route.port);
    }
}

void DirectOutput::end()
{
    m_sockets = {};
}

QUdpSocket &DirectOutput::socket(size_t channel)
{
    std::unique_ptr<QUdpSocket> &socket = m_sockets[channel];
    if (!socket) {
        socket = std::make_unique<QUdpSocket>();
        socket->bind(QHostAddress::AnyIPv4);
        // With this time to live, multicast datagrams stay on this computer whatever the routing table says.
        if (m_reach == Reach::ThisComputer)
            socket->setSocketOption(QAbstractSocket::MulticastTtlOption, 0);
    }
    return *socket;
}

} // namespace simulation
