#pragma once

#include <QByteArray>
#include <QVector>

namespace simulation {

/// The result of readDatagram().
struct DatagramContent
{
    bool isComplete = false;   ///< text of one or more lines, each ended by CR LF
    QVector<QByteArray> types; ///< the types of all lines, in order
    QVector<qint32> numbers;   ///< the frame numbers of all "fr" lines, in order
};

/// Splits \a datagram into lines, even if it is not complete.
DatagramContent readDatagram(const QByteArray &datagram);

} // namespace simulation
