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

/// A minimal implementation of one thread per channel, with which the module is compared. Once per frame, the
/// feeding thread wakes the thread of each channel with a plain mutex and condition variable, and that thread
/// sends a prepared datagram. No line is copied, and no frame is assembled.
class HandOff : public Pipeline
{
public:
    /// Starts one thread for each of the first \a channels receivers. Every datagram has \a padding
    /// additional bytes.
    HandOff(const Receivers &receivers, int channels, int padding = 0);
    ~HandOff() override;
    HandOff(const HandOff &) = delete;
    HandOff &operator=(const HandOff &) = delete;

    int64_t sendFrame(uint32_t number) override;
    int channels() const override { return int(m_channels.size()); }

private:
    struct Channel
    {
        std::mutex mutex;
        std::condition_variable wake;
        uint32_t wanted = 0;   // number of the last frame to send; guarded by mutex
        bool stopping = false; // guarded by mutex
        std::thread thread;
    };

    static void run(Channel &channel, int index, uint16_t port, int padding);

    std::vector<std::unique_ptr<Channel>> m_channels;
};

} // namespace bench
