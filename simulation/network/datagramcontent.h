#pragma once

#include <QByteArray>
#include <QVector>

namespace simulation {

/// The result of readDatagram().
struct DatagramContent
{
    /// Whether the datagram consists of lines, at least one, that each end in CR LF, and contains no other CR
    /// or LF and no NUL byte.
    bool isComplete = false;
    QVector<QByteArray> types; ///< the types of all lines, in order
    QVector<qint32> numbers;   ///< the frame numbers of all "fr" lines, in order
};

/// Splits \a datagram into lines, even if it is not complete, and returns their types and frame numbers.
DatagramContent readDatagram(const QByteArray &datagram);

} // namespace simulation
