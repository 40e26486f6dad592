#pragma once

#include "lineblock.h"
#include "wakecondition.h"

#include <QByteArray>

#include <string>
#include <string_view>

namespace networksettings2g {

/// Joins lines into frames. The stream has no frame marks, so they are inferred: the type of the first line
/// opens frames, and a frame is complete when it has as many lines as the previous one. While that length is
/// unknown or has changed, leftover lines become part of the next frame: the lines fr1 6d1 fr2 6d2 fr3 6d3
/// give the frames "fr1 6d1 fr2 6d2" and "fr3 6d3". Not thread-safe.
class FrameAssembler
{
public:
    /// The payload of the largest UDP datagram over IPv4: 65535 minus the headers of IP (20) and UDP (8).
    static constexpr int MaximumFrameBytes = 65507;

    /// If this many lines in a row are of other types, the opening type has probably been switched off: the
    /// next such line drops the current frame, and its type opens frames from then on.
    static constexpr int MaximumLinesWithoutStart = 1000;

    FrameAssembler();

    /// Prepares for a new worker: learns the length of frames again. Keeps the opening type and the text.
    void startRun();

    /// Prepares for lines after a gap: does what startRun() and resetFrame() do, and lets add() skip all
    /// lines before the next opening line.
    void startAfterGap();

    /// Drops the text and the number of the current frame, complete or not. Keeps the line counts.
    void resetFrame();

    /// Adds \a line to the frame, which must not be complete (see resetFrame()). Returns whether the line
    /// completes the frame.
    bool add(const RouterLine &line);

    /// Returns whether the last add() completed the frame; false after resetFrame().
    bool isComplete() const { return m_complete; }

    /// Returns a condition that is met no later than by the next line that completes a frame.
    WakeCondition nextCompletion() const;

    // The following functions describe the frame that the last add() has completed.

    /// Returns whether to send the frame: whether it has a number that is divisible by \a divisor, which is
    /// at least 1, and fits into a datagram.
    bool isSendable(int divisor) const;

    /// Returns whether the last line of type "fr" in the frame has a valid number other than 0.
    bool hasNumber() const { return m_frameNumber != 0; }

    /// Returns whether the text would exceed MaximumFrameBytes; text() is then empty.
    bool isOversized() const { return m_oversized; }

    /// Returns whether the lines of the current frame, complete or not, have any text.
    bool hasText() const { return m_oversized || !m_frameBuffer.isEmpty(); }

    /// Returns the frame's lines without empty ones, each ended by one CR LF.
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
    qint32 m_lineCount = 0;         // lines since the last opening line (included) or startRun()
    qint32 m_frameLines = -1;       // lines of the previous frame; below 1: unknown, no frame can be complete
    qint32 m_linesWithoutStart = 0; // lines since the last opening line (not included) or startRun()
    bool m_afterGap = false;        // true while lines are skipped up to the next opening line
};

} // namespace networksettings2g
