#include "baselines.h"

#include "clocks.h"
#include "frames.h"
#include "receivers.h"

#include <cerrno>

#include <sys/socket.h>

namespace bench {

HandOff::Channel::Channel(int index, uint16_t port, int padding)
    : m_sender(index, port, m_socket, padding)
    , m_thread([this] { run(); })
{
}

HandOff::Channel::~Channel()
{
    wake(Stop);
    m_thread.join();
}

void HandOff::Channel::wake(uint32_t number)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_wanted = number;
    }
    // Notify after unlocking; otherwise the woken thread could block on the mutex at once.
    m_wake.notify_one();
}

void HandOff::Channel::run()
{
    uint32_t sent = 0;
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [&] { return m_wanted != sent; });
        const uint32_t wanted = m_wanted;
        if (wanted == Stop)
            return;
        lock.unlock();
        // The first frame may have any number. The numbers after it have no gaps, so send all frames that
        // were requested during the previous send.
        for (sent = sent == 0 ? wanted : sent + 1; sent != wanted; ++sent)
            m_sender.send(sent);
        m_sender.send(sent);
        lock.lock();
    }
}

HandOff::HandOff(const Receivers &receivers, int channels, int padding)
{
    for (int index = 0; index < channels; ++index)
        m_channels.emplace_back(index, receivers.port(index), padding);
}

int64_t HandOff::sendFrame(uint32_t number)
{
    const int64_t start = nowNs();
    for (Channel &channel : m_channels)
        channel.wake(number);
    return start;
}

OneSender::OneSender(const Receivers &receivers, int channels, int padding)
{
    for (int index = 0; index < channels; ++index)
        m_senders.emplace_back(index, receivers.port(index), m_socket, padding);
}

int64_t OneSender::sendFrame(uint32_t number)
{
    const int64_t start = nowNs();
    for (Sender &sender : m_senders)
        sender.send(number);
    return start;
}

Relay::Relay(const Receivers &receivers, int channels, int padding)
    : m_feed(0, m_input.bindToLoopback(), m_feedSocket, padding)
    , m_output(receivers, channels, padding)
    , m_thread([this] { run(); })
{
}

Relay::~Relay()
{
    // On Linux, this makes recv() return 0, although the socket is not connected.
    shutdown(m_input.descriptor(), SHUT_RD);
    m_thread.join();
}

int64_t Relay::sendFrame(uint32_t number)
{
    const int64_t start = nowNs();
    m_feed.send(number);
    return start;
}

void Relay::run()
{
    char datagram[65536];
    for (;;) {
        const ssize_t length = recv(m_input.descriptor(), datagram, sizeof datagram, 0);
        if (length >= numberEnd)
            m_output.sendFrame(readNumber(datagram));
        else if (length >= 0 || errno != EINTR)
            return;
    }
}

} // namespace bench
