#include "relay.h"

#include "clocks.h"
#include "receivers.h"

#include <cerrno>

namespace bench {

namespace {

/// Returns a UDP socket bound to a free port of 127.0.0.1, which is written to \a port, or -1 on failure.
int listeningSocket(uint16_t *port)
{
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    // With a time-out, run() ends even if the datagram that the destructor sends is lost.
    const timeval timeout{1, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(descriptor, reinterpret_cast<sockaddr *>(&address), size) != 0 ||
        getsockname(descriptor, reinterpret_cast<sockaddr *>(&address), &size) != 0) {
        close(descriptor);
        return -1;
    }
    *port = ntohs(address.sin_port);
    return descriptor;
}

} // namespace

Relay::Relay(const Receivers &receivers, int channels)
{
    uint16_t port = 0;
    m_socket = listeningSocket(&port);
    for (int channel = 0; channel < channels; ++channel)
        m_senders.emplace_back(channel, receivers.port(channel), m_sendSocket.descriptor());
    m_feeder.emplace_back(0, port, m_sendSocket.descriptor());
    m_thread = std::thread([this] { run(); });
}

Relay::~Relay()
{
    m_stopping = true;
    m_feeder.front().send(0); // only wakes the thread
    m_thread.join();
    close(m_socket);
}

int64_t Relay::sendFrame(uint32_t number)
{
    const int64_t start = nowNs();
    m_feeder.front().send(number);
    return start;
}

void Relay::run()
{
    char datagram[65536];
    for (;;) {
        const ssize_t length = recv(m_socket, datagram, sizeof datagram, 0);
        // After a socket error, the relay sends nothing more; measurePipeline() reports the lost datagrams.
        if (m_stopping || (length < 0 && errno != EAGAIN && errno != EINTR))
            return;
        if (length < numberPosition + numberDigits)
            continue;
        const uint32_t number = readNumber(datagram + numberPosition);
        for (Sender &sender : m_senders)
            sender.send(number);
    }
}

} // namespace bench
