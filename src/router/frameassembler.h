#pragma once

#include "lineblock.h"
#include "wakecondition.h"

#include <QByteArray>

#include <string>
#include <string_view>

namespace networksettings2g {

/// Joins lines into frames. The stream does not mark where a frame begins: the type of the first line is
/// taken for the opening type, whose lines open frames. A frame is complete when as many lines have arrived
/// since its opening line, including that line, as the previous frame had. The first frame after a start
/// stays in the buffer and is sent together with the second. Not thread-safe.
class FrameAssembler
{
public:
    /// The payload of the largest UDP datagram over IPv4: 65535 minus the headers of IP (20) and UDP (8).
    static constexpr int MaximumFrameBytes = 65507;

    /// After this many lines of other types, the opening type is assumed to have been switched off, and the
    /// type of the next line becomes the opening type.
    static constexpr int MaximumLinesWithoutStart = 1000;

    FrameAssembler();

    /// Prepares for a new worker: forgets the number of lines in a frame, but not the opening type.
    void startRun();

    /// Prepares for lines after a gap: does what startRun() and resetFrame() do, and lets add() skip all
    /// lines up to the next opening line.
    void startAfterGap();

    /// Drops the text and the number of the current frame, complete or not. Keeps the line counts.
    void resetFrame();

    /// Adds \a line to the frame, which must not be complete. Returns whether the line completes the frame.
    bool add(const RouterLine &line);

    /// Returns whether the last add() completed the frame; false after resetFrame().
    bool isComplete() const { return m_complete; }

    /// Returns the condition that is met by the first of the following lines that may complete a frame.
    WakeCondition nextCompletion() const;

    /// Returns whether to send the complete frame: whether it has a number that is divisible by \a divisor,
    /// which is at least 1, and fits into a datagram.
    bool isSendable(int divisor) const;

    /// These describe the frame completed by the last add().
    bool hasNumber() const { return m_frameNumber != 0; }
    bool isOversized() const { return m_oversized; }

    /// Returns the frame's lines, each ended by one CR LF.
    const QByteArray &text() const { return m_frameBuffer; }

private:
    /// Updates the counts for a line of \a type. Returns false if the line must be skipped.
    bool findFrameStart(std::string_view type);
    void learnFirstLineType(std::string_view type);
    void readFrameNumber(const RouterLine &line);
    void appendText(std::string_view line);

    QByteArray m_frameBuffer;
    bool m_complete = false;
    bool m_oversized = false; // the frame is larger than a datagram; its text is not kept
    std::string m_firstLineType;
    qint32 m_frameNumber = 0;       // 0: none
    qint32 m_lineCount = 0;         // lines since the last opening line, including that line
    qint32 m_frameLines = -1;       // lines of the last full frame; -1: unknown, so no frame can be complete
    qint32 m_linesWithoutStart = 0; // lines since the last opening line, without that line
    bool m_afterGap = false;        // true while lines are skipped up to the next opening line
};

} // namespace networksettings2g
