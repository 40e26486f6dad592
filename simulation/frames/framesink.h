#pragma once

#include "frame.h"

namespace simulation {

/// Receives the frames of a source, and is notified when the data start and end. All calls come from one
/// thread at a time.
class FrameSink
{
public:
    /// Receives the next frame, which may be empty.
    virtual void takeFrame(const Frame &frame) = 0;

    /// The data start, or start over. Code that assembles frames from lines must discard an incomplete frame.
    virtual void takeReset() = 0;

    /// The data have ended. If data follow later, a reset comes first.
    virtual void takeIdle() = 0;

protected:
    ~FrameSink() = default;
};

} // namespace simulation
