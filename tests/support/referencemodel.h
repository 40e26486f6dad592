#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

/// Computes which datagrams a channel's worker should send. Unlike FrameAssembler, which counts lines, it
/// finds the frames by the positions of the opening lines in a list of all lines. Deliberately slow and
/// simple.
class ReferenceModel
{
public:
    /// Sets the channel's divisor, at least 1.
    void setDivisor(int divisor) { m_divisor = divisor; }

    /// Models the start of a worker. Of the previous lines only the opening type stays known.
    void start()
    {
        m_lines.clear();
        m_frameBegin = 0;
        m_linesWithoutOpening = 0;
        m_skipsToOpening = false;
    }

    /// Drops the lines that have been collected for the next datagram.
    void reset() { m_frameBegin = m_lines.size(); }

    /// Models a loss of lines before the next line.
    void loseLines()
    {
        start();
        m_skipsToOpening = true;
    }

    /// Adds the next line. Returns the datagram that is sent after it, if there is one.
    std::optional<std::string> add(const std::string &type, const std::string &text)
    {
        // After 1000 lines of other types, the opening type is assumed to have been switched off.
        if (m_linesWithoutOpening == 1000 && type != m_openingType) {
            m_openingType = type;
            start();
        }
        if (m_openingType.empty())
            m_openingType = type;
        const bool opens = type == m_openingType;
        m_linesWithoutOpening = opens ? 0 : m_linesWithoutOpening + 1;
        m_skipsToOpening = m_skipsToOpening && !opens;
        if (m_skipsToOpening)
            return {};
        m_lines.push_back({type, text});
        return isFrameComplete() ? takeFrame() : std::nullopt;
    }

    /// Returns the number of bytes that have been collected for the next datagram.
    std::size_t pendingBytes() const { return frameText().size(); }

private:
    struct Line
    {
        std::string type;
        std::string text;
    };

    /// Returns the position of the last opening line before \a end, if there is one.
    std::optional<std::size_t> openingBefore(std::size_t end) const
    {
        for (std::size_t at = end; at > 0; --at) {
            if (m_lines[at - 1].type == m_openingType)
                return at - 1;
        }
        return {};
    }

    /// Returns whether the current frame has as many lines as the previous one. The current frame begins with
    /// the last opening line. The previous one begins with the opening line before that or, if there is none,
    /// with the first line of the list.
    bool isFrameComplete() const
    {
        const std::optional<std::size_t> begin = openingBefore(m_lines.size());
        if (!begin)
            return false;
        const std::size_t beginOfPrevious = openingBefore(*begin).value_or(0);
        return m_lines.size() - *begin == *begin - beginOfPrevious;
    }

    /// Returns the text of the collected lines if it should be sent. Begins the next datagram in both cases.
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

    /// Returns the collected lines as they stand in a datagram.
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

    /// Returns the number after the first three characters, or 0 if there is none or it does not fit into 32
    /// bits.
    static std::int64_t numberIn(const std::string &text)
    {
        std::int64_t number = 0;
        std::istringstream(text.substr(std::min(text.size(), std::size_t{3}))) >> number;
        return number == static_cast<std::int32_t>(number) ? number : 0;
    }

    std::vector<Line> m_lines;    // since the last call of start(), without the skipped ones
    std::size_t m_frameBegin = 0; // index of the first line of the next datagram
    std::string m_openingType;
    int m_linesWithoutOpening = 0; // since the last opening line or the last call of start()
    bool m_skipsToOpening = false; // lines were lost, so lines are skipped up to the next opening line
    int m_divisor = 1;
};
