#pragma once

#include <cstdint>

/// One way for frames from the feeding thread to the receivers: the product's, or one that it is compared
/// with.
class Road
{
public:
    virtual ~Road() = default;

    /// Sets the frame \a number on its way to every channel. Returns the moment from which its latency
    /// counts: right before the last of it is handed over, in monotonic nanoseconds.
    virtual int64_t carry(uint32_t number) = 0;

    /// Channels that each frame goes to: the first ones.
    virtual int channels() const = 0;
};
