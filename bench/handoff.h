#pragma once

#include "road.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class Receivers;

/// The bare hand-off: the feeding thread wakes one thread a channel once a frame, by a plain mutex and
/// condition variable each, and each sends bytes that are ready. No line is copied and no frame assembled.
class HandOff : public Road
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
        uint32_t wanted = 0; // the last frame to be sent; under the mutex
        bool stopping = false;
        std::thread thread;
    };

    static void run(Lane &lane, int channel, uint16_t port, int padding);

    std::vector<std::unique_ptr<Lane>> m_lanes;
};
