#pragma once

#include "frames.h"

#include <string>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

/// The cheapest comparable sender for one channel: it writes the frame number into a prepared datagram and
/// calls sendto() once on an unconnected socket.
class Sender
{
public:
    /// \a channel and \a padding are those of datagramOf(). \a port is that of the receiver on 127.0.0.1. The
    /// caller owns \a socket and closes it only after the last send().
    Sender(int channel, uint16_t port, int socket, int padding = 0)
        : m_datagram(datagramOf(channel, padding))
        , m_socket(socket)
    {
        m_to.sin_family = AF_INET;
        m_to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_to.sin_port = htons(port);
    }

    /// Sends frame \a number, which must have at most nine digits.
    void send(uint32_t number)
    {
        writeNumber(m_datagram.data() + numberPosition, number);
        // The result is ignored; the receiver's counts show lost datagrams.
        sendto(m_socket, m_datagram.data(), m_datagram.size(), 0, reinterpret_cast<sockaddr *>(&m_to),
               sizeof m_to);
    }

private:
    std::string m_datagram;
    int m_socket;
    sockaddr_in m_to{};
};

/// A UDP socket for sending, closed by the destructor.
class SendSocket
{
public:
    SendSocket()
        : m_descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
    }
    ~SendSocket() { close(m_descriptor); }
    SendSocket(const SendSocket &) = delete;
    SendSocket &operator=(const SendSocket &) = delete;

    int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

} // namespace bench
