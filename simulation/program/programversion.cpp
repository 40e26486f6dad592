#include "programversion.h"

namespace simulation {

QString programVersion()
{
    return QLatin1String(PROGRAM_VERSION);
}

} // namespace simulation
