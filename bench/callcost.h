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

    void deliver(uint32_t number);

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
    void put(const char *type, const char *line, bool frameEnds);

    std::vector<std::unique_ptr<Lane>> m_lanes;
    const bool m_waking;
    Frame m_frame;
};

/// What a line has cost the thread that hands it over.
struct CallCost
{
    double oursNs = 0;          ///< processor time
    double oursElapsedNs = 0;   ///< by the clock
    double copiesNs = 0;        ///< processor time of CopyLanes
    double copiesElapsedNs = 0; ///< by the clock
    double wakesNs = 0;         ///< processor time of CopyLanes with wakes
};

/// Hands frames over in bursts, after each of which the workers may drain outside the measured time, ours
/// and the limits in turn. False if datagrams do not arrive.
bool measureCalls(Product &product, const Receivers &receivers, int bursts, CallCost *cost);
