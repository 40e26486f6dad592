#include "frameassembler.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

namespace {

constexpr int reservedBytes = 20000;

/// The number behind "fr ", 0 if there is none or it does not fit.
qint32 parseFrameNumber(const std::string &line)
{
    constexpr std::size_t position = 3;
    if (line.size() < position)
        return 0;
    errno = 0;
    const long number = std::strtol(line.c_str() + position, nullptr, 10);
    const bool fits = errno == 0 && number >= std::numeric_limits<qint32>::min() &&
                      number <= std::numeric_limits<qint32>::max();
    return fits ? static_cast<qint32>(number) : 0;
}

int lengthWithoutLineEnd(const std::string &line)
{
    const std::size_t last = line.find_last_not_of("\r\n");
    return last == std::string::npos ? 0 : static_cast<int>(last + 1);
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
    m_oversized = false;
    // With room reserved, emptying keeps the memory for the next frame.
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
    return m_lineCount == m_frameLines;
}

bool FrameAssembler::findFrameStart(const std::string &type)
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

void FrameAssembler::learnFirstLineType(const std::string &type)
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

void FrameAssembler::appendText(const std::string &line)
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
    return m_frameNumber != 0 && m_frameNumber % divisor == 0 && !m_oversized;
}
