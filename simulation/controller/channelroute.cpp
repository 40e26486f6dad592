#include "channelroute.h"

#include <QHostInfo>
#include <QUdpSocket>

namespace simulation {

ChannelRoutes RouteFinder::routes(const ControllerState &state)
{
    ChannelRoutes routes;
    for (size_t i = 0; i < routes.size(); ++i) {
        const OutputChannel &channel = state.channels[i];
        routes[i].content = {channel.types, channel.divisor, channel.active, state.viaRouter};
        if (channel.destination.kind == Destination::Kind::None)
            continue;
        routes[i].address = addressOf(channel.destination.host);
        routes[i].port = quint16(channel.destination.port);
    }
    return routes;
}

quint32 RouteFinder::addressOf(const QByteArray &host)
{
    const auto known = m_addresses.constFind(host);
    if (known != m_addresses.constEnd())
        return *known;
    QHostAddress address(QString::fromLatin1(host));
    if (address.isNull())
        address = QHostInfo::fromName(QString::fromLatin1(host)).addresses().value(0);
    const bool isReachable = m_reach == Reach::Network || staysOnThisComputer(address);
    return *m_addresses.insert(host, isReachable ? address.toIPv4Address() : 0);
}

bool staysOnThisComputer(const QHostAddress &address)
{
    // Connecting a UDP socket sends nothing; it makes the system choose the local address for the route to
    // \a address. The port has no influence on the route.
    constexpr quint16 discardPort = 9;
    QUdpSocket probe;
    probe.connectToHost(address, discardPort);
    return probe.localAddress().isLoopback() || (!address.isNull() && probe.localAddress() == address);
}

} // namespace simulation
