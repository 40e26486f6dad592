#pragma once

#include "framesource.h"

class SimulatedController;

/// Frames of bodies and markers that move on circles: one line for each type that the Controller has
/// available, in the order of its catalogue, numbered from 1.
class MadeUpFrames : public FrameSource
{
public:
    explicit MadeUpFrames(const SimulatedController &controller);

    bool next(Frame *frame) override;

private:
    const SimulatedController &m_controller;
    qint32 m_number = 0;
};
