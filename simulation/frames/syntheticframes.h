#pragma once

#include "framesource.h"

#include <QList>

#include <functional>

namespace simulation {

/// Synthetic frames of bodies and markers that circle around the z axis. Each frame has one line for each
/// available type. The frames are numbered from 1. The source never ends.
class SyntheticFrames : public FrameSource
{
public:
    /// Returns the available types of the Controller, in the order of its catalogue.
    using TypeQuery = std::function<QList<QByteArray>()>;

    /// Calls \a availableTypes for each frame, on the thread that calls next().
    explicit SyntheticFrames(TypeQuery availableTypes);

    bool next(Frame *frame) override;

private:
    const TypeQuery m_availableTypes;
    qint32 m_number = 0;
};

} // namespace simulation
