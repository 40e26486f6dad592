#pragma once

#include <QList>
#include <QString>

class IOManager;

namespace networksettings2g {

/// One ASCII output type that the Controller offers.
struct OutputTypeInfo
{
    QString name;           ///< identifier, such as "6d": the key of all commands about the type
    QString description;    ///< text for the user, free of double quotes; may be empty
    bool available = false; ///< the Controller can send this type now
};

/// Refills \a types with the Controller's catalogue, in the Controller's order; of more than 10000 types the
/// first 10000. A type whose name cannot be read is left out; every failure goes to the host's log.
/// Returns 0, or -1 without a \a manager. GUI thread; blocks for three queries per type.
int queryOutputTypes(IOManager *manager, QList<OutputTypeInfo> *types);

/// The address of this computer as the Controller sees it, empty if the answer does not contain it. GUI
/// thread; blocks.
QString queryMonitorIp(IOManager *manager);

} // namespace networksettings2g
