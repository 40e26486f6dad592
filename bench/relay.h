#pragma once

#include "pipeline.h"
#include "sender.h"

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace bench {

class Receivers;

/// A plain UDP relay, which users could run instead of the module. The feeding thread sends each frame to the
/// relay in one datagram. The relay's thread receives that datagram and then sends a prepared one to each
/// receiver.
class Relay : public Pipeline
{
public:
    Relay(const Receivers &receivers, int channels);
    ~Relay() override;
    Relay(const Relay &) = delete;
    Relay &operator=(const Relay &) = delete;

    int64_t sendFrame(uint32_t number) override;
    int channels() const override { return int(m_senders.size()); }

private:
    void run();

    int m_socket;
    std::atomic<bool> m_stopping{false};
    SendSocket m_sendSocket;
    std::vector<Sender> m_senders;
    std::vector<Sender> m_feeder; // one sender to m_socket; empty until the port of m_socket is known
    std::thread m_thread;
};

} // namespace bench
