#pragma once

#include <cstdint>

namespace bench {

/// Sends frames from the feeding thread to the receivers: through the module, or through one of the minimal
/// senders that the module is compared with.
class Pipeline
{
public:
    virtual ~Pipeline() = default;

    /// Sends frame \a number to every channel. Returns the time at which the latency begins, in monotonic
    /// nanoseconds: right before the last line of the frame is delivered to the module, or right before a
    /// minimal sender begins its work.
    virtual int64_t carry(uint32_t number) = 0;

    /// Returns the number of channels that get each frame. These are the first channels.
    virtual int channels() const = 0;
};

} // namespace bench
