#pragma once

#include <QByteArray>
#include <QVector>

/// One line of tracking data, ended by CR LF.
struct DataLine
{
    QByteArray type;
    QByteArray text;
};

/// One frame of tracking data: its lines in the order of the stream.
using Frame = QVector<DataLine>;

/// The first word of a line.
QByteArray lineType(const QByteArray &line);

/// The number in the text of an "fr" line, 0 if there is none that fits into 32 bits.
qint32 frameNumber(const QByteArray &line);

/// The number in the "fr" line of \a frame, 0 without one.
qint32 frameNumber(const Frame &frame);

/// \a line without the CR and LF at its end, in any mix.
QByteArray withoutLineEnd(const QByteArray &line);
