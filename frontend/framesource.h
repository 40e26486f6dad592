#pragma once

#include "frame.h"

/// Where the tracking frames come from. Used on one thread at a time.
class FrameSource
{
public:
    virtual ~FrameSource() = default;

    /// The next frame, or none when the source has come to its end.
    virtual Frame next() = 0;
};
