#include "channelroute.h"

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
    const quint32 address = resolveAddress(host);
    const bool isReachable = m_reach == UdpSocket::Reach::Network || staysOnThisComputer(address);
    return *m_addresses.insert(host, isReachable ? address : 0);
}

} // namespace simulation
