#include "sender.h"

#include "frames.h"

namespace bench {

namespace {

sockaddr_in loopbackAddress(uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

} // namespace

uint16_t Socket::bindToLoopback() const
{
    sockaddr_in address = loopbackAddress(0);
    socklen_t size = sizeof address;
    const bool isBound = bind(m_descriptor, reinterpret_cast<sockaddr *>(&address), size) == 0 &&
                         getsockname(m_descriptor, reinterpret_cast<sockaddr *>(&address), &size) == 0;
    return isBound ? ntohs(address.sin_port) : 0;
}

Sender::Sender(int channel, uint16_t port, const Socket &socket, int padding)
    : m_socket(socket.descriptor())
    , m_to(loopbackAddress(port))
{
    for (const FrameLine &line : tickedLines(channel, padding))
        m_datagram += line.text;
}

void Sender::send(uint32_t number)
{
    writeNumber(m_datagram.data(), number);
    sendto(m_socket, m_datagram.data(), m_datagram.size(), 0, reinterpret_cast<const sockaddr *>(&m_to),
           sizeof m_to);
}

} // namespace bench
