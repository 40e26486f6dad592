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

/// The lower limit for delivering a line to several channels: for each channel, a lane locks one plain mutex
/// and copies the type and the line into a preallocated buffer.
class CopyLanes
{
public:
    /// With \a waking, each lane has a thread, which is woken at the last line of each frame.
    CopyLanes(int lanes, bool waking);
    ~CopyLanes();
    CopyLanes(const CopyLanes &) = delete;
    CopyLanes &operator=(const CopyLanes &) = delete;

    void setNumber(uint32_t number) { m_frame.setNumber(number); }

    /// Delivers line \a index of the frame.
    void deliver(int index);

private:
    struct Lane
    {
        std::mutex mutex;
        std::array<char, 65536> buffer{};
        size_t used = 0;
        std::condition_variable wake;
        bool woken = false;
        bool stopping = false;
        std::thread thread;
    };

    static void run(Lane &lane);

    std::vector<std::unique_ptr<Lane>> m_lanes;
    const bool m_waking;
    Frame m_frame;
};

/// What one line costs the delivering thread, in nanoseconds.
struct LineCost
{
    double inside = 0; ///< median time of a call with any line of a frame but the last
    double mean = 0;   ///< mean time of the same calls
    double last = 0;   ///< mean CPU time of the call with the last line of a frame
};

struct CallCosts
{
    LineCost ours;   ///< of the module
    LineCost copies; ///< of CopyLanes
    LineCost wakes;  ///< of CopyLanes that wake their threads
};

/// Delivers frames one at a time, alternating between the module and the limits. The workers send each frame
/// before the next one is delivered; that time is not measured. Returns false if datagrams are lost.
bool measureCalls(ModuleUnderTest &module, const Receivers &receivers, int frames, CallCosts *costs);

} // namespace bench
