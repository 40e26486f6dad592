#pragma once

#include "lineblock.h"
#include "wakecondition.h"

#include <QByteArray>

#include <string>
#include <string_view>

namespace networksettings2g {

/// Joins lines into frames. The stream has no frame marks: the first output type seen is taken for the one
/// that opens frames, and a frame is complete when as many lines have arrived since the last line of that
/// type as the previous frame had. The first frame after a start stays in the buffer and is sent together
/// with the second. Not thread-safe.
class FrameAssembler
{
public:
    /// The payload of the largest UDP datagram over IPv4: 65535 minus the headers of IP (20) and UDP (8).
    static constexpr int MaximumFrameBytes = 65507;

    /// After this many lines without it, the opening type is taken to have been switched off.
    static constexpr int MaximumLinesWithoutStart = 1000;

    FrameAssembler();

    /// A new worker starts: the number of lines in a frame is unknown. The opening type stays known.
    void startRun();

    /// Lines were lost. Like startRun(), with an empty buffer; the rest of the incomplete frame is skipped.
    void startAfterGap();

    /// Drops the text and the number of the current frame, complete or not. The line counts go on.
    void resetFrame();

    /// Adds one line to a frame that is not complete; true if it completes the frame.
    bool add(const RouterLine &line);

    /// Whether the last add() completed a frame. Ends with resetFrame().
    bool isComplete() const { return m_complete; }

    /// Which of the lines to come may be the first that completes a frame.
    WakeCondition nextCompletion() const;

    /// Whether to send the complete frame: it has a number that is divisible by \a divisor (at least 1), and
    /// it fits into a datagram.
    bool isSendable(int divisor) const;

    /// These describe the frame completed by the last add().
    bool hasNumber() const { return m_frameNumber != 0; }
    bool isOversized() const { return m_oversized; }

    /// The frame's lines, each ended by one CR LF.
    const QByteArray &text() const { return m_frameBuffer; }

private:
    bool findFrameStart(std::string_view type);
    void learnFirstLineType(std::string_view type);
    void readFrameNumber(const RouterLine &line);
    void appendText(std::string_view line);

    QByteArray m_frameBuffer;
    bool m_complete = false;
    bool m_oversized = false; // the frame is larger than a datagram; its text is not kept
    std::string m_firstLineType;
    qint32 m_frameNumber = 0;       // 0: none yet
    qint32 m_lineCount = 0;         // lines since the last opening line, that one included
    qint32 m_frameLines = -1;       // lines of the last full frame; -1: unknown, so no frame can be complete
    qint32 m_linesWithoutStart = 0; // lines since the last opening line
    bool m_afterGap = false;        // lines are skipped up to the next opening line
};

} // namespace networksettings2g
