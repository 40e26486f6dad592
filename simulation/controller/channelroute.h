#pragma once

#include "controllerstate.h"
#include "framechecker.h"

#include <QHash>
#include <QHostAddress>

#include <array>

namespace simulation {

/// Where datagrams may go.
enum class Reach
{
    ThisComputer,
    Network
};

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
    explicit RouteFinder(Reach reach)
        : m_reach(reach)
    {
    }

    ChannelRoutes routes(const ControllerState &state);

private:
    quint32 addressOf(const QByteArray &host);

    const Reach m_reach;
    QHash<QByteArray, quint32> m_addresses;
};

/// Returns whether datagrams to \a address stay on this computer according to the routing table. They do if
/// \a address is an address of this computer, or a multicast group that is routed through the loopback
/// interface. Returns false also if there is no route.
bool staysOnThisComputer(const QHostAddress &address);

} // namespace simulation
