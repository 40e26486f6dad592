#pragma once

#include "frame.h"

namespace simulation {

/// Receives the data of a source. All calls come from one thread at a time.
class FrameSink
{
public:
    virtual void takeFrame(const Frame &frame) = 0;

    /// The data start over: a partial frame, if any, is void.
    virtual void takeReset() = 0;

    /// No more data will follow for now.
    virtual void takeIdle() = 0;

protected:
    ~FrameSink() = default;
};

} // namespace simulation
