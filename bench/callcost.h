#pragma once

#include "frames.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace bench {

class ModuleUnderTest;
class Receivers;

/// A minimal implementation of delivering lines to several channels, with which the module is compared. For
/// each channel, the delivering thread locks one plain mutex and copies the type and the line into a
/// preallocated buffer.
class LockAndCopy
{
public:
    /// With \a waking, each channel has a thread, which is woken at the last line of each frame.
    LockAndCopy(int channels, bool waking);
    ~LockAndCopy();
    LockAndCopy(const LockAndCopy &) = delete;
    LockAndCopy &operator=(const LockAndCopy &) = delete;

    void setNumber(uint32_t number) { m_frame.setNumber(number); }

    /// Delivers line \a index of the frame, 0 to linesPerFrame - 1.
    void deliver(int index);

private:
    struct Channel
    {
        std::mutex mutex; // guards buffer, used, woken and stopping
        std::array<char, 65536> buffer{};
        size_t used = 0; // bytes
        std::condition_variable wake;
        bool woken = false;
        bool stopping = false;
        std::thread thread; // only with m_waking
    };

    static void run(Channel &channel);

    std::vector<std::unique_ptr<Channel>> m_channels;
    const bool m_waking;
    Frame m_frame;
};

/// What one call that delivers a line costs the calling thread, in nanoseconds, without the time for reading
/// the clocks.
struct LineCost
{
    double median = 0; ///< median time of all calls except those with the last line of a frame
    double mean = 0;   ///< mean time of the same calls
    double last = 0;   ///< mean CPU time of the calls with the last line of a frame
};

struct CallCosts
{
    LineCost ours;   ///< of the module
    LineCost copies; ///< of LockAndCopy
    LineCost wakes;  ///< of LockAndCopy that wakes its threads
};

/// Delivers \a frames frames on a separate thread, each in turn to the module, to a LockAndCopy without
/// threads and to one with threads. Before the next frame is delivered, waits until all datagrams of the
/// previous one have arrived; that time is not measured. Returns false if datagrams are lost. If this already
/// happens in the warm-up, \a costs does not change.
bool measureCalls(ModuleUnderTest &module, const Receivers &receivers, int frames, CallCosts *costs);

} // namespace bench
