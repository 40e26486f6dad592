#pragma once

#include "channelroute.h"
#include "frame.h"
#include "udpsocket.h"

#include <mutex>

/// The Controller's own output: with router mode off it sends the frames of each active channel itself, one
/// datagram a frame.
class DirectOutput
{
public:
    /// Sends by \a routes from now on. When this returns, no frame is on its way by earlier ones. Any thread.
    void follow(const ChannelRoutes &routes);

    /// Sends \a frame to every channel that is to have it. One thread at a time.
    void send(const Frame &frame);

private:
    std::mutex m_mutex;
    ChannelRoutes m_routes;
    UdpSocket m_socket;
};

/// The bytes that a channel with \a content sends of \a frame: the lines of its types, each ended by one CR
/// LF. Empty if it sends nothing of it, because its divisor or the size of a datagram forbid or because it
/// has no "fr" line ticked to tell the frame's number.
QByteArray datagramOf(const Frame &frame, const Expectation &content);
