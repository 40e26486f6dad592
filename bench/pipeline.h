#pragma once

#include <cstdint>

namespace bench {

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

} // namespace bench
