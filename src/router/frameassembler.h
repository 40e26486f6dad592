#pragma once

#include "lineblock.h"
#include "wakerule.h"

#include <QByteArray>

#include <string>
#include <string_view>

/// Joins lines into frames. The stream has no marks of its own: the first output type that is seen is taken
/// for the one that opens frames, and a frame is complete when as many lines have come since that type's last
/// line as the frame before had. The first frame after a start stays in the buffer and leaves together with
/// the second. Not thread-safe.
class FrameAssembler
{
public:
    /// The most that one UDP datagram over IPv4 carries: 65535 less the headers of IP and UDP.
    static constexpr int MaximumFrameBytes = 65507;

    /// When the type that opens frames has not come for so many lines, it has been switched off.
    static constexpr int MaximumLinesWithoutStart = 1000;

    FrameAssembler();

    /// A worker begins: how many lines a frame has is unknown. The type that opens frames stays known.
    void startRun();

    /// Lines have been lost. As startRun(), with an empty buffer; what is left of the torn frame is passed
    /// over.
    void startAfterGap();

    /// Drops the text and the number of the frame that is being assembled. The counts of lines go on.
    void resetFrame();

    /// Adds one line; true if it completes a frame.
    bool add(const RouterLine &line);

    /// The earliest line after now with which a frame can be complete.
    WakeRule nextCompletion() const;

    /// Whether the complete frame is one to send: it has a number, \a divisor (at least 1) divides it, and it
    /// fits into a datagram.
    bool isSendable(int divisor) const;

    /// Of the complete frame.
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
    bool m_oversized = false; // the frame has outgrown a datagram; its text is not kept
    std::string m_firstLineType;
    qint32 m_frameNumber = 0;       // 0: none yet
    qint32 m_lineCount = 0;         // lines since the last line that opened a frame, that one included
    qint32 m_frameLines = -1;       // lines of the last full frame; -1: unknown, so no frame can be complete
    qint32 m_linesWithoutStart = 0; // lines since the last line that opened a frame
    bool m_afterGap = false;        // nothing counts until a line opens a frame
};
