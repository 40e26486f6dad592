#pragma once

#include <QByteArray>
#include <QSet>
#include <QVector>

namespace simulation {

/// The result of readDatagram().
struct DatagramContent
{
    /// Whether the datagram consists of lines, at least one, that each have a type and end in CR LF, and
    /// contains no other CR or LF and no NUL byte.
    bool isComplete = false;
    QSet<QByteArray> types;  ///< the types of the lines
    QVector<qint32> numbers; ///< the frame numbers of the "fr" lines, in order
};

/// Splits \a datagram into lines and returns their types and frame numbers. Stops at a line without a type or
/// with a CR or LF in it.
DatagramContent readDatagram(const QByteArray &datagram);

} // namespace simulation
