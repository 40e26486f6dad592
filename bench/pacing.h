#pragma once

#include <cstdint>
#include <vector>

namespace bench {

class Receivers;
class Pipeline;

/// The result of sending a number of frames through a pipeline.
struct Run
{
    uint64_t sent = 0;               ///< datagrams expected
    uint64_t arrived = 0;            ///< datagrams received
    uint64_t bytes = 0;              ///< in the received datagrams
    int64_t cpuNs = 0;               ///< CPU time of this process from the first frame to the last arrival
    std::vector<double> latenciesNs; ///< of the received datagrams, in ascending order; only in a paced run

    /// \a arrived must not be 0.
    double cpuPerDatagramNs() const { return double(cpuNs) / double(arrived); }
};

/// Sends frames until the pipeline is in a steady state: its threads have started, and each channel of the
/// module has sent its first datagram, which holds two frames. Then waits until no more datagrams arrive.
/// Returns false if a channel's first 20 datagrams do not arrive within 5 s.
bool warmUp(Pipeline &pipeline, const Receivers &receivers);

/// Feeds \a frames frames, at most 65536, at \a rate frames per second on a separate data thread. The time of
/// each frame is computed from the start, so that delays do not accumulate. Returns when all datagrams have
/// arrived, or a second after the last frame.
Run runPaced(Pipeline &pipeline, const Receivers &receivers, int rate, int frames);

/// Feeds \a frames frames on a separate data thread without pacing, but at most 300 frames ahead of the
/// slowest receiver, so that neither a queue nor a socket buffer overflows. Ten seconds after the start it no
/// longer waits for the receivers, so that a lost datagram cannot block it. Returns when all datagrams have
/// arrived, or a second after the last frame.
Run runWindowed(Pipeline &pipeline, const Receivers &receivers, int frames);

/// Waits until each receiver i has counted at least \a counts[i] datagrams since the receivers were started.
/// Returns false if they do not arrive within a second.
bool waitForArrivals(const Receivers &receivers, const std::vector<uint64_t> &counts);

/// Returns how many datagrams each of the first \a channels receivers has counted since its start.
std::vector<uint64_t> counts(const Receivers &receivers, int channels);

/// Returns firstFrameNumber at the first call, and then the next number at each call. May be called on any
/// thread, but only on one at a time.
uint32_t nextFrameNumber();

} // namespace bench
