#pragma once

#include <QByteArray>
#include <QVector>

namespace simulation {

/// One line of tracking data.
struct DataLine
{
    QByteArray type; ///< the output type, which is the first word of the text
    QByteArray text; ///< the whole line, ended by CR LF
};

/// One frame of tracking data: its lines in the order in which the source produced them.
using Frame = QVector<DataLine>;

/// Returns the output type of \a line, which is its first word. \a line must not have a line end.
QByteArray lineType(const QByteArray &line);

/// Returns the frame number in the text of an "fr" line, or 0 if the line has no number or the number does
/// not fit into 32 bits.
qint32 frameNumber(const QByteArray &line);

/// Returns the frame number in the first "fr" line of \a frame, or 0 if there is no such line.
qint32 frameNumber(const Frame &frame);

/// Returns \a line without trailing CR and LF characters.
QByteArray withoutLineEnd(const QByteArray &line);

/// Returns whether a channel with the send data divisor \a divisor sends the frame \a number.
inline bool divisorSelects(int divisor, qint64 number)
{
    return number != 0 && number % divisor == 0;
}

} // namespace simulation
