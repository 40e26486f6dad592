#pragma once

#include <cstdint>
#include <vector>

class Receivers;
class Road;

/// What one run of frames over a road has taken.
struct Run
{
    uint64_t sent = 0;    ///< datagrams that were to arrive
    uint64_t arrived = 0; ///< datagrams that did
    uint64_t bytes = 0;   ///< of those that did
    int64_t cpuNs = 0;    ///< of all threads of this process, from the first frame to the last arrival
    std::vector<double> latenciesNs; ///< in order of size; of a paced run

    double cpuPerDatagramNs() const { return double(cpuNs) / double(arrived); }
};

/// Sends frames until the road is in its stride: the product's first datagram holds two frames, and threads
/// have to start. False if not every channel's datagrams arrive.
bool warmUp(Road &road, const Receivers &receivers);

/// Feeds \a frames frames at \a rate frames a second. The moments are counted from the start, so delays do
/// not add up. Runs on a data thread of its own and returns when all has arrived or is lost.
Run runPaced(Road &road, const Receivers &receivers, int rate, int frames);

/// Feeds \a frames frames as fast as the receivers count them, never more than some hundred ahead, so that
/// neither a queue nor a socket overflows.
Run runWindowed(Road &road, const Receivers &receivers, int frames);

/// Waits until the receivers of the first channels have counted as many datagrams in all as \a counts says of
/// each. False if they do not come within a second.
bool waitForArrivals(const Receivers &receivers, const std::vector<uint64_t> &counts);

/// What each receiver has counted so far, of the first \a channels channels.
std::vector<uint64_t> counts(const Receivers &receivers, int channels);

/// A number that no frame of this process has had.
uint32_t nextFrameNumber();
