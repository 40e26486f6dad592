#pragma once

#include "framesource.h"

#include <QSet>
#include <QString>

/// Recorded frames: a text of lines, each beginning with its output type. The type of the first line opens
/// every frame.
class ReplayedFrames : public FrameSource
{
public:
    /// Reads the file \a name, or standard input for "-", to its end. \a types are the types that the
    /// Controller has; lines of others are skipped. False if the file cannot be read, holds no line of a
    /// known type or is no text; \a problem then tells why, in one line.
    bool open(const QString &name, const QSet<QByteArray> &types, QString *problem);

    bool next(Frame *frame) override;

    /// Lines that were skipped, blank ones included.
    int skippedLines() const { return m_skipped; }

private:
    bool accept(const QByteArray &content, const QSet<QByteArray> &types, QString *problem);

    QVector<DataLine> m_lines;
    int m_position = 0;
    int m_skipped = 0;
};
