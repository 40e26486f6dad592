#include "directoutput.h"

#include "frameledger.h"

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

void DirectOutput::follow(const ChannelRoutes &routes)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_routes = routes;
}

void DirectOutput::send(const Frame &frame)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const ChannelRoute &route : m_routes) {
        if (!route.content.active || route.content.viaRouter || !route.isReachable())
            continue;
        const QByteArray datagram = datagramOf(frame, route.content);
        if (!datagram.isEmpty())
            m_socket.send(datagram, route.address, route.port);
    }
}

} // namespace simulation
