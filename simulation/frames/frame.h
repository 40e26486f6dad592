#pragma once

#include <QByteArray>
#include <QVector>

namespace simulation {

/// One line of tracking data, terminated by CR LF.
struct DataLine
{
    QByteArray type;
    QByteArray text;
};

/// One frame of tracking data: its lines in the order in which the source produced them.
using Frame = QVector<DataLine>;

/// Returns the output type of a line, which is its first word.
QByteArray lineType(const QByteArray &line);

/// Returns the frame number in the text of an "fr" line, or 0 if the line has no number or the number does
/// not fit into 32 bits.
qint32 frameNumber(const QByteArray &line);

/// Returns the frame number of \a frame, or 0 if the frame has no "fr" line.
qint32 frameNumber(const Frame &frame);

/// Returns \a line without trailing CR and LF characters.
QByteArray withoutLineEnd(const QByteArray &line);

} // namespace simulation
