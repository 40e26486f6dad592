#pragma once

#include "frames.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class Product;
class Receivers;

/// The least that handing a line to some channels costs: for each a plain lock and a copy of type and line
/// into a buffer that is kept for it.
class CopyLanes
{
public:
    /// With \a waking, each lane has a thread that is woken once a frame, at its last line.
    CopyLanes(int lanes, bool waking);
    ~CopyLanes();
    CopyLanes(const CopyLanes &) = delete;
    CopyLanes &operator=(const CopyLanes &) = delete;

    void setNumber(uint32_t number) { m_frame.setNumber(number); }

    /// Line \a index of the frame.
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

    static void waitForever(Lane &lane);

    std::vector<std::unique_ptr<Lane>> m_lanes;
    const bool m_waking;
    Frame m_frame;
};

/// What a line costs the thread that hands it over, in nanoseconds.
struct LineCost
{
    double inside = 0; ///< the median of the calls with a line in the midst of a frame, by the clock
    double mean = 0;   ///< the mean of the same calls
    double last = 0;   ///< the mean processor time of the call with a frame's last line
};

struct CallCosts
{
    LineCost ours;
    LineCost copies; ///< of CopyLanes
    LineCost wakes;  ///< of CopyLanes with a wake a frame
};

/// Hands frames over one by one, after each of which the workers may drain outside the measured time, ours
/// and the limits in turn. False if datagrams do not arrive.
bool measureCalls(Product &product, const Receivers &receivers, int frames, CallCosts *costs);
