#include "frameassembler.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>

namespace networksettings2g {

namespace {

constexpr int reservedBytes = 20000; // minimum capacity for the text of a frame

/// Returns the number after "fr ", or 0 if there is none or it does not fit into 32 bits.
qint32 parseFrameNumber(std::string_view line)
{
    constexpr std::size_t position = 3;
    if (line.size() < position)
        return 0;
    const std::string text(line.substr(position)); // terminated for strtol()
    errno = 0;
    const long number = std::strtol(text.c_str(), nullptr, 10);
    const bool fits = errno == 0 && number >= std::numeric_limits<qint32>::min() &&
                      number <= std::numeric_limits<qint32>::max();
    return fits ? static_cast<qint32>(number) : 0;
}

int lengthWithoutLineEnd(std::string_view line)
{
    const std::size_t last = line.find_last_not_of("\r\n");
    return last == std::string_view::npos ? 0 : static_cast<int>(last + 1);
}

} // namespace

FrameAssembler::FrameAssembler()
{
    resetFrame();
}

void FrameAssembler::startRun()
{
    m_lineCount = 0;
    m_frameLines = -1;
    m_linesWithoutStart = 0;
    m_afterGap = false;
}

void FrameAssembler::startAfterGap()
{
    startRun();
    resetFrame();
    m_afterGap = true;
}

void FrameAssembler::resetFrame()
{
    m_frameNumber = 0;
    m_complete = false;
    m_oversized = false;
    // With a reserved capacity, resize(0) keeps the memory for the next frame.
    m_frameBuffer.resize(0);
    m_frameBuffer.reserve(reservedBytes);
}

bool FrameAssembler::add(const RouterLine &line)
{
    if (!findFrameStart(line.type))
        return false;
    readFrameNumber(line);
    appendText(line.line);
    ++m_lineCount;
    m_complete = m_lineCount == m_frameLines;
    return m_complete;
}

WakeCondition FrameAssembler::nextCompletion() const
{
    const int linesToNewOpener = MaximumLinesWithoutStart - m_linesWithoutStart + 1;
    // Between frames, an opening line comes first, and its frame is complete when it has as many lines as the
    // last one. Within a frame, its remaining lines complete it, unless the next frame opens earlier. A line
    // whose type becomes the opening type meets the condition, because the length does not hold from then on.
    const bool isBetweenFrames = m_lineCount >= m_frameLines;
    const int lines = isBetweenFrames ? m_lineCount : m_frameLines - m_lineCount;
    return {static_cast<std::size_t>(std::clamp(lines, 1, linesToNewOpener)), m_firstLineType,
            isBetweenFrames};
}

bool FrameAssembler::findFrameStart(std::string_view type)
{
    if (m_firstLineType.empty()) {
        learnFirstLineType(type);
    } else if (type == m_firstLineType) {
        if (!m_afterGap)
            m_frameLines = m_lineCount;
        m_lineCount = 0;
        m_linesWithoutStart = 0;
        m_afterGap = false;
    } else if (m_linesWithoutStart == MaximumLinesWithoutStart) {
        startRun();
        resetFrame();
        learnFirstLineType(type);
    } else {
        ++m_linesWithoutStart;
    }
    return !m_afterGap;
}

void FrameAssembler::learnFirstLineType(std::string_view type)
{
    m_firstLineType = type;
    m_lineCount = 0;
    m_afterGap = false;
}

void FrameAssembler::readFrameNumber(const RouterLine &line)
{
    if (line.type == "fr")
        m_frameNumber = parseFrameNumber(line.line);
}

void FrameAssembler::appendText(std::string_view line)
{
    const int length = lengthWithoutLineEnd(line);
    if (length == 0 || m_oversized)
        return;
    if (length > MaximumFrameBytes - 2 - m_frameBuffer.size()) {
        m_oversized = true;
        m_frameBuffer.resize(0);
        return;
    }
    m_frameBuffer.append(line.data(), length).append("\r\n", 2);
}

bool FrameAssembler::isSendable(int divisor) const
{
    return hasNumber() && m_frameNumber % divisor == 0 && !isOversized();
}

} // namespace networksettings2g
