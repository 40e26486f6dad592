#include "hostlog.h"

#include "iomanager.h"

#include <QString>

namespace networksettings2g {

void logFailure(IOManager *manager, const QString &text)
{
    manager->log("standard", "ORVANE3", 1, text.toLatin1().constData());
}

} // namespace networksettings2g
