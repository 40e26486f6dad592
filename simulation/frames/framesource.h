#pragma once

#include "frame.h"

/// Where the tracking frames come from. Used on one thread at a time.
class FrameSource
{
public:
    virtual ~FrameSource() = default;

    /// Gives the next frame, which may be empty. False when the source has come to its end.
    virtual bool next(Frame *frame) = 0;
};
