#pragma once

#include "controllerstate.h"
#include "framechecker.h"

#include <QHash>

#include <array>

/// Where one channel's frames go, and what they hold.
struct ChannelRoute
{
    quint32 address = 0; ///< in host byte order; 0: nowhere on this computer
    quint16 port = 0;    ///< 0: nowhere
    Expectation content;

    bool isReachable() const { return address != 0 && port != 0; }
};

using ChannelRoutes = std::array<ChannelRoute, outputChannelCount>;

/// Finds the routes of the channels. Looks up a host name once, and waits for that.
class RouteFinder
{
public:
    ChannelRoutes routes(const ControllerState &state);

private:
    quint32 addressOf(const QByteArray &host);

    QHash<QByteArray, quint32> m_addresses;
};
