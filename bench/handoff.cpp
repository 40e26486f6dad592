#include "handoff.h"

#include "clocks.h"
#include "receivers.h"
#include "sender.h"

namespace bench {

HandOff::HandOff(const Receivers &receivers, int channels, int padding)
{
    for (int channel = 0; channel < channels; ++channel) {
        m_lanes.push_back(std::make_unique<Lane>());
        m_lanes.back()->thread =
            std::thread(run, std::ref(*m_lanes.back()), channel, receivers.port(channel), padding);
    }
}

HandOff::~HandOff()
{
    for (const auto &lane : m_lanes) {
        {
            const std::lock_guard<std::mutex> lock(lane->mutex);
            lane->stopping = true;
        }
        lane->wake.notify_one();
        lane->thread.join();
    }
}

int64_t HandOff::carry(uint32_t number)
{
    const int64_t start = nowNs();
    for (const auto &lane : m_lanes) {
        {
            const std::lock_guard<std::mutex> lock(lane->mutex);
            lane->wanted = number;
        }
        // Notify after unlocking; otherwise the woken thread would block on the mutex at once.
        lane->wake.notify_one();
    }
    return start;
}

void HandOff::run(Lane &lane, int channel, uint16_t port, int padding)
{
    const SendSocket socket;
    Sender sender(channel, port, socket.descriptor(), padding);
    uint32_t sent = 0;
    std::unique_lock<std::mutex> lock(lane.mutex);
    for (;;) {
        lane.wake.wait(lock, [&] { return lane.stopping || lane.wanted != sent; });
        if (lane.stopping)
            return;
        const uint32_t wanted = lane.wanted;
        lock.unlock();
        // Frame numbers have no gaps, so send all frames that were requested during the previous send.
        for (sent = sent == 0 ? wanted : sent + 1; sent != wanted; ++sent)
            sender.send(sent);
        sender.send(sent);
        lock.lock();
    }
}

} // namespace bench
