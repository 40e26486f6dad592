#pragma once

#include "pipeline.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace bench {

class Receivers;

/// The lower limit for one thread per channel: once per frame, the feeding thread wakes the thread of each
/// channel with a plain mutex and condition variable, and that thread sends a prepared datagram. No line is
/// copied, and no frame is assembled.
class HandOff : public Pipeline
{
public:
    HandOff(const Receivers &receivers, int channels, int padding = 0);
    ~HandOff() override;
    HandOff(const HandOff &) = delete;
    HandOff &operator=(const HandOff &) = delete;

    int64_t carry(uint32_t number) override;
    int channels() const override { return int(m_lanes.size()); }

private:
    struct Lane
    {
        std::mutex mutex;
        std::condition_variable wake;
        uint32_t wanted = 0;   // the last frame to send; guarded by mutex
        bool stopping = false; // guarded by mutex
        std::thread thread;
    };

    static void run(Lane &lane, int channel, uint16_t port, int padding);

    std::vector<std::unique_ptr<Lane>> m_lanes;
};

} // namespace bench
