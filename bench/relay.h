#pragma once

#include "pipeline.h"
#include "sender.h"

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace bench {

class Receivers;

/// A plain UDP relay, which users would run instead of the module: a thread receives each frame as one
/// datagram and sends one datagram to each receiver. The feeding thread sends that one datagram.
class Relay : public Pipeline
{
public:
    Relay(const Receivers &receivers, int channels);
    ~Relay() override;
    Relay(const Relay &) = delete;
    Relay &operator=(const Relay &) = delete;

    int64_t carry(uint32_t number) override;
    int channels() const override { return int(m_senders.size()); }

private:
    void run();

    int m_socket;
    std::atomic<bool> m_ends{false};
    SendSocket m_sendSocket;
    std::vector<Sender> m_senders;
    std::vector<Sender> m_feeder; // one sender to m_socket; empty until the port of m_socket is known
    std::thread m_thread;
};

} // namespace bench
