#pragma once

#include "controllerstate.h"
#include "framechecker.h"
#include "udpsocket.h"

#include <QHash>

#include <array>

namespace simulation {

/// The destination and the content of one channel's frames.
struct ChannelRoute
{
    quint32 address = 0; ///< in host byte order; 0: unknown or not allowed
    quint16 port = 0;    ///< 0: no destination
    Expectation content;

    bool isReachable() const { return address != 0 && port != 0; }
};

using ChannelRoutes = std::array<ChannelRoute, outputChannelCount>;

/// Determines the routes of the channels. Resolves each host name once, which may block, and keeps the
/// result, even a failure. Not thread-safe.
class RouteFinder
{
public:
    /// With Reach::ThisComputer, destinations on other computers are not allowed: their routes get the
    /// address 0.
    explicit RouteFinder(UdpSocket::Reach reach = UdpSocket::Reach::ThisComputer)
        : m_reach(reach)
    {
    }

    ChannelRoutes routes(const ControllerState &state);

private:
    quint32 addressOf(const QByteArray &host);

    const UdpSocket::Reach m_reach;
    QHash<QByteArray, quint32> m_addresses;
};

} // namespace simulation
