#pragma once

#include "channelroute.h"
#include "frame.h"
#include "udpsocket.h"

#include <mutex>

namespace simulation {

/// The Controller's own output: with router mode off it sends the frames of each active channel, one datagram
/// per frame. Thread-safe.
class DirectOutput
{
public:
    explicit DirectOutput(UdpSocket::Reach reach = UdpSocket::Reach::ThisComputer)
        : m_socket(reach)
    {
    }

    /// Uses \a routes from now on. When the function returns, no frame is being sent with the previous
    /// routes.
    void follow(const ChannelRoutes &routes);

    /// Sends \a frame on each active channel that has to send it. Datagrams that the system does not accept
    /// are lost. May block while the send buffer of the socket is full.
    void send(const Frame &frame);

private:
    std::mutex m_mutex; ///< guards all members below
    ChannelRoutes m_routes;
    UdpSocket m_socket;
};

/// Returns the datagram that a channel with \a content sends for \a frame: the lines of the channel's types,
/// each ended by CR LF. Returns an empty datagram if the frame is not due, if "fr" is not ticked, or if the
/// lines do not fit into one datagram.
QByteArray datagramOf(const Frame &frame, const Expectation &content);

} // namespace simulation
