#pragma once

#include "frame.h"

#include <QSet>
#include <QString>

namespace simulation {

/// Frames from a recording, which consists of text lines. Each line begins with its output type. Every line
/// that has the same type as the first line that is not skipped starts a frame; a frame also ends after
/// 1 MiB.
class ReplayedFrames
{
public:
    /// Reads the file \a name, or standard input for "-", to its end. Skips lines whose type is not in
    /// \a types. Returns false and sets \a problem to a message of one line if the file cannot be read, is
    /// larger than 512 MiB, contains a zero byte or has no line of a type in \a types. Call it once.
    bool open(const QString &name, const QSet<QByteArray> &types, QString *problem);

    /// Writes the next frame to \a frame. Returns false at the end of the recording.
    bool next(Frame *frame);

    /// Returns the number of skipped lines, including blank ones.
    int skippedLines() const { return m_skipped; }

private:
    bool accept(QString *problem);
    bool takeLine(DataLine *line);

    QByteArray m_content; ///< the whole recording
    QSet<QByteArray> m_types;
    QByteArray m_firstType; ///< of the first line that is not skipped
    int m_position = 0;     ///< in m_content
    int m_skipped = 0;
};

} // namespace simulation
