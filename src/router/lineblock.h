#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

/// One line of tracking data. It refers to texts that somebody else keeps.
struct RouterLine
{
    std::string_view type; ///< output type, such as "fr"
    std::string_view line; ///< the text as it came, with its CR and LF
};

/// Copies of lines in the order of their arrival, one behind the other in one piece of memory that is used
/// again and again: a line costs no allocation, and reading runs straight through. Not thread-safe.
class LineBlock
{
public:
    void append(const RouterLine &line);

    /// Gives the next line, which holds until the block changes; false at the end.
    bool read(RouterLine *line);

    bool isRead() const { return m_read == m_used; }

    /// Of all lines, read or not.
    std::size_t lineCount() const { return m_lineCount; }

    /// Bytes of the texts of all lines.
    std::size_t byteCount() const { return m_used - m_lineCount * sizeof(Lengths); }

    /// Drops all lines. Memory beyond what calm data need is given back.
    void clear();

private:
    /// Stands in front of the two texts.
    struct Lengths
    {
        std::size_t type;
        std::size_t line;
    };

    void reserve(std::size_t bytes);

    std::vector<char> m_memory;
    std::size_t m_used = 0;
    std::size_t m_read = 0;
    std::size_t m_lineCount = 0;
};
