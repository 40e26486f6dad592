#pragma once

#include <cstdint>
#include <vector>

namespace bench {

class Receivers;

/// Sends frames from the feeding thread to the receivers: through the module, or through one of the minimal
/// senders that the module is compared with.
class Pipeline
{
public:
    virtual ~Pipeline() = default;

    /// Sends frame \a number to the receivers of the first channels() channels. \a number must have nine
    /// digits and be one higher than in the previous call. Returns the time at which the latency begins, in
    /// monotonic nanoseconds: immediately before the last line of the frame is delivered to the module, or
    /// before a minimal sender begins its work.
    virtual int64_t sendFrame(uint32_t number) = 0;

    /// Returns how many channels send each frame.
    virtual int channels() const = 0;
};

/// The result of sending a number of frames through a pipeline.
struct Run
{
    int sent = 0;                    ///< datagrams expected
    int64_t bytes = 0;               ///< in the received datagrams
    int64_t cpuNs = 0;               ///< CPU time of this process from the first frame to the last arrival
    int64_t feedingNs = 0;           ///< the part of it that the feeding thread spent in sendFrame()
    std::vector<double> pageFaults;  ///< minor page faults of this process in each whole second
    std::vector<double> latenciesNs; ///< of the received datagrams

    int arrived() const { return int(latenciesNs.size()); }
};

/// Sends frames until the pipeline is in a steady state: its threads have started, and each channel of the
/// module has sent its first datagram, which holds two frames. Returns false if the last of these frames does
/// not arrive within 5 s.
bool warmUp(Pipeline &pipeline, const Receivers &receivers);

/// Feeds \a frames frames, at most 65536, on a separate data thread. Returns when all datagrams have arrived,
/// or a second after the last frame.
///
/// With a \a rate in frames per second, the time of each frame is computed from the start, so that delays do
/// not accumulate. With a rate of 0, frames are fed without pacing, but at most 300 ahead of the slowest
/// receiver, so that neither a queue nor a socket buffer overflows. Ten seconds after the start they no
/// longer wait for the receivers, so that a lost datagram cannot block them.
Run feed(Pipeline &pipeline, const Receivers &receivers, int rate, int frames);

} // namespace bench
