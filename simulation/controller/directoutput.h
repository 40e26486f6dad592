#pragma once

#include "channelroute.h"
#include "frame.h"

#include <memory>
#include <mutex>

class QUdpSocket;

namespace simulation {

/// The Controller's own output: with router mode off it sends the frames of each active channel, one datagram
/// per frame. Each channel has a socket of its own that never blocks, so that a receiver that cannot be
/// reached delays no other channel.
class DirectOutput
{
public:
    explicit DirectOutput(Reach reach);
    ~DirectOutput();

    /// Uses \a routes from now on. When the function returns, no frame is being sent with the previous
    /// routes. Thread-safe.
    void follow(const ChannelRoutes &routes);

    /// Sends \a frame on each active channel that has to send it. Datagrams that the system does not accept
    /// are lost. Call it on one thread only, and end() on the same thread.
    void send(const Frame &frame);

    /// Closes the sockets, which belong to the thread that sends.
    void end();

private:
    QUdpSocket &socket(size_t channel);

    const Reach m_reach;
    std::array<std::unique_ptr<QUdpSocket>, outputChannelCount> m_sockets; ///< opened when first used

    std::mutex m_mutex;
    ChannelRoutes m_routes; ///< guarded by m_mutex
};

/// Returns the datagram that a channel with \a content sends for \a frame: the lines of the channel's types,
/// each ended by CR LF. Returns an empty datagram if the frame is not due, if "fr" is not ticked, or if the
/// lines do not fit into one datagram.
QByteArray datagramOf(const Frame &frame, const Expectation &content);

} // namespace simulation
