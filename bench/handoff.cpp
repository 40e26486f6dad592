#include "handoff.h"

#include "clocks.h"
#include "receivers.h"
#include "sender.h"

namespace bench {

HandOff::HandOff(const Receivers &receivers, int channels, int padding)
{
    for (int index = 0; index < channels; ++index) {
        m_channels.push_back(std::make_unique<Channel>());
        m_channels.back()->thread =
            std::thread(run, std::ref(*m_channels.back()), index, receivers.port(index), padding);
    }
}

HandOff::~HandOff()
{
    for (const auto &channel : m_channels) {
        {
            const std::lock_guard<std::mutex> lock(channel->mutex);
            channel->stopping = true;
        }
        channel->wake.notify_one();
        channel->thread.join();
    }
}

int64_t HandOff::sendFrame(uint32_t number)
{
    const int64_t start = nowNs();
    for (const auto &channel : m_channels) {
        {
            const std::lock_guard<std::mutex> lock(channel->mutex);
            channel->wanted = number;
        }
        // Notify after unlocking; otherwise the woken thread could block on the mutex at once.
        channel->wake.notify_one();
    }
    return start;
}

void HandOff::run(Channel &channel, int index, uint16_t port, int padding)
{
    const SendSocket socket;
    Sender sender(index, port, socket.descriptor(), padding);
    uint32_t sent = 0;
    std::unique_lock<std::mutex> lock(channel.mutex);
    for (;;) {
        channel.wake.wait(lock, [&] { return channel.stopping || channel.wanted != sent; });
        if (channel.stopping)
            return;
        const uint32_t wanted = channel.wanted;
        lock.unlock();
        // The first frame may have any number. The numbers after it have no gaps, so send all frames that
        // were requested during the previous send.
        for (sent = sent == 0 ? wanted : sent + 1; sent != wanted; ++sent)
            sender.send(sent);
        sender.send(sent);
        lock.lock();
    }
}

} // namespace bench
