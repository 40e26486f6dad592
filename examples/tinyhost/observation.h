#pragma once

#include <QByteArray>
#include <QList>

class QString;
class QUdpSocket;

/// Waits for a datagram that consists of one line of each of \a types, in this order, with the same number.
/// Returns false if none arrives within 20 s.
bool frameArrives(QUdpSocket &receiver, const QList<QByteArray> &types);

/// Returns whether the library \a file is in the memory of this process.
bool isInMemory(const QString &file);
