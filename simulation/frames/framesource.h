#pragma once

#include "frame.h"

namespace simulation {

/// A source of tracking frames. Not thread-safe.
class FrameSource
{
public:
    virtual ~FrameSource() = default;

    /// Writes the next frame, which may be empty, to \a frame. Returns false at the end of the source.
    virtual bool next(Frame *frame) = 0;
};

} // namespace simulation
