#pragma once

#include <QString>

namespace simulation {

/// Returns the version of the project, which all programs share.
QString programVersion();

} // namespace simulation
