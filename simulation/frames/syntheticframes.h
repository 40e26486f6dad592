#pragma once

#include "frame.h"

#include <QList>

namespace simulation {

/// Returns the frame \a number of bodies and markers that circle around the z axis, with one line for each of
/// \a types.
Frame syntheticFrame(qint32 number, const QList<QByteArray> &types);

} // namespace simulation
