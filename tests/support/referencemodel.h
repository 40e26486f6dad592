#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

/// What a channel's worker is to send, said in another way than the worker does it: no counters, only the
/// places of lines in a list of all that came. Slow and plain on purpose.
class ReferenceModel
{
public:
    void setDivisor(int divisor) { m_divisor = divisor; }

    /// A worker begins. Nothing is known of before but the type that opens frames.
    void start()
    {
        m_lines.clear();
        m_frameBegin = 0;
        m_linesWithoutOpening = 0;
        m_isTorn = false;
    }

    /// What has come of the frame that is being assembled is not to be sent.
    void reset() { m_frameBegin = m_lines.size(); }

    /// Lines have been lost in front of the next one.
    void loseLines()
    {
        start();
        m_isTorn = true;
    }

    /// The next line; the datagram that leaves at it, if one does.
    std::optional<std::string> add(const std::string &type, const std::string &text)
    {
        if (m_linesWithoutOpening == 1000 && type != m_openingType) {
            m_openingType = type;
            start();
        }
        if (m_openingType.empty())
            m_openingType = type;
        const bool opens = type == m_openingType;
        m_linesWithoutOpening = opens ? 0 : m_linesWithoutOpening + 1;
        m_isTorn = m_isTorn && !opens;
        if (m_isTorn)
            return {};
        m_lines.push_back({type, text});
        return isFrameComplete() ? takeFrame() : std::nullopt;
    }

    /// The type whose lines open frames; empty before the first line.
    const std::string &openingType() const { return m_openingType; }

    /// How many bytes have come of the frame that is being assembled.
    std::size_t pendingBytes() const { return frameText().size(); }

private:
    struct Line
    {
        std::string type;
        std::string text;
    };

    /// Where the last line that opens a frame stands in front of \a end, if there is one.
    std::optional<std::size_t> openingBefore(std::size_t end) const
    {
        for (std::size_t at = end; at > 0; --at) {
            if (m_lines[at - 1].type == m_openingType)
                return at - 1;
        }
        return {};
    }

    /// A frame is as long as the one before, and the one before runs from one opening line to the next, or
    /// from the first line of all if that opens nothing.
    bool isFrameComplete() const
    {
        const std::optional<std::size_t> begin = openingBefore(m_lines.size());
        if (!begin)
            return false;
        const std::size_t beginOfPrevious = openingBefore(*begin).value_or(0);
        return m_lines.size() - *begin == *begin - beginOfPrevious;
    }

    std::optional<std::string> takeFrame()
    {
        const std::string frame = frameText();
        std::int64_t number = 0;
        for (; m_frameBegin < m_lines.size(); ++m_frameBegin) {
            if (m_lines[m_frameBegin].type == "fr")
                number = numberIn(m_lines[m_frameBegin].text);
        }
        if (number == 0 || number % m_divisor != 0 || frame.size() > 65507)
            return {};
        return frame;
    }

    std::string frameText() const
    {
        std::string frame;
        for (std::size_t at = m_frameBegin; at < m_lines.size(); ++at) {
            const std::string &text = m_lines[at].text;
            const std::size_t last = text.find_last_not_of("\r\n");
            if (last != std::string::npos)
                frame += text.substr(0, last + 1) + "\r\n";
        }
        return frame;
    }

    /// The number that stands behind the first three characters. 0 if there is none or if it takes more than
    /// 32 bits.
    static std::int64_t numberIn(const std::string &text)
    {
        std::int64_t number = 0;
        std::istringstream(text.substr(std::min(text.size(), std::size_t{3}))) >> number;
        return number == static_cast<std::int32_t>(number) ? number : 0;
    }

    std::vector<Line> m_lines;    // since the worker began or lines were lost
    std::size_t m_frameBegin = 0; // which of them is the first of the frame that is being assembled
    std::string m_openingType;
    int m_linesWithoutOpening = 0; // since the worker began or lines were lost, too
    bool m_isTorn = false;         // what comes is the rest of a frame that has lost lines
    int m_divisor = 1;
};
