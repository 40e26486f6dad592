#pragma once

#include "channelroute.h"
#include "frame.h"
#include "udpsocket.h"

#include <mutex>

namespace simulation {

/// The Controller's own output: with router mode off it sends the frames of each active channel, one datagram
/// per frame.
class DirectOutput
{
public:
    explicit DirectOutput(UdpSocket::Reach reach = UdpSocket::Reach::ThisComputer)
        : m_socket(reach)
    {
    }

    /// Uses \a routes from now on. When it returns, no frame is being sent by the previous routes.
    /// Thread-safe.
    void follow(const ChannelRoutes &routes);

    /// Sends \a frame to each channel that is due. Call it on one thread at a time.
    void send(const Frame &frame);

private:
    std::mutex m_mutex;
    ChannelRoutes m_routes;
    UdpSocket m_socket;
};

/// Returns the datagram that a channel with \a content sends for \a frame: the lines of its types, each ended
/// by one CR LF. It is empty if the divisor skips the frame, if it would exceed the size of a datagram, or if
/// "fr" is not ticked.
QByteArray datagramOf(const Frame &frame, const Expectation &content);

} // namespace simulation
