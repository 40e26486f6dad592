#pragma once

#include <QByteArray>
#include <QVector>

namespace simulation {

/// What a datagram consists of.
struct DatagramContent
{
    bool isComplete = false;   ///< text of one or more lines, each ended by CR LF
    QVector<QByteArray> types; ///< of all lines, in their order
    QVector<qint32> numbers;   ///< of all "fr" lines, in their order
};

/// Splits \a datagram into lines, also if it is not complete.
DatagramContent readDatagram(const QByteArray &datagram);

} // namespace simulation
