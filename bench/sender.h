#pragma once

#include <cstdint>
#include <string>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

/// A UDP socket, closed by the destructor.
class Socket
{
public:
    Socket() = default;
    ~Socket() { close(m_descriptor); }
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    int descriptor() const { return m_descriptor; }

    /// Binds the socket to a free port of 127.0.0.1 and returns the port, or 0 on failure.
    uint16_t bindToLoopback() const;

private:
    const int m_descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

/// The cheapest comparable sender for one channel: it writes the frame number into a prepared datagram and
/// calls sendto() once on an unconnected socket.
class Sender
{
public:
    /// \a channel and \a padding are those of tickedLines(). \a port is that of the receiver on 127.0.0.1.
    /// \a socket must outlive the sender.
    Sender(int channel, uint16_t port, const Socket &socket, int padding);

    /// Sends frame \a number. The result is ignored; the receiver's counts show lost datagrams.
    void send(uint32_t number);

private:
    std::string m_datagram;
    const int m_socket;
    const sockaddr_in m_to;
};

} // namespace bench
