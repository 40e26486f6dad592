#pragma once

#include <QList>
#include <QString>

class IOManager;

/// One ASCII output type that the Controller offers.
struct OutputTypeInfo
{
    QString name;           ///< identifier, such as "6d": the key of all commands about the type
    QString description;    ///< text for the user, without double quotes; may be empty
    bool available = false; ///< the Controller can send this type now
};

/// Replaces \a types with the Controller's catalogue, in the Controller's order, up to 10000 types. Returns
/// 0. Blocks for one query, and for up to three more per type. GUI thread only.
/// Note: Every failed query is logged. A type whose name cannot be read is left out. A description that
/// cannot be read is empty, and a type whose availability cannot be read is not available.
/// Note: If \a manager is null, clears \a types and returns -1.
int queryOutputTypes(IOManager *manager, QList<OutputTypeInfo> *types);

/// Returns the address of this computer as the Controller sees it. Blocks for one query. GUI thread only.
/// Note: Returns an empty text if \a manager is null, the query fails or the answer has no second word. A
/// failure is not logged.
QString queryMonitorIp(IOManager *manager);
