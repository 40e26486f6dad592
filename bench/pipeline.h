#pragma once

#include <cstdint>

namespace bench {

/// A way for frames from the feeding thread to the receivers: through the module, or one that it is compared
/// with.
class Pipeline
{
public:
    virtual ~Pipeline() = default;

    /// Sends frame \a number to every channel. Returns the start of the latency, in monotonic nanoseconds:
    /// the time right before the last line of the frame is delivered.
    virtual int64_t carry(uint32_t number) = 0;

    /// Returns how many channels get each frame, counted from the first.
    virtual int channels() const = 0;
};

} // namespace bench
