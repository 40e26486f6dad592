#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace networksettings2g {

/// One line of tracking data. It does not own its texts.
struct RouterLine
{
    std::string_view type; ///< output type, such as "fr"
    std::string_view line; ///< the text as it arrived, with its CR and LF
};

/// Copies of lines in the order of their arrival, stored one after the other in one buffer. The buffer is
/// reused, so few lines cause an allocation, and reading is sequential. Not thread-safe.
class LineBlock
{
public:
    /// The limits of a block. Only a single line that is longer may exceed them, in a block of its own.
    static constexpr std::size_t MaximumLines = 1024;
    static constexpr std::size_t MaximumBytes = std::size_t{128} * 1024; // twice the longest frame

    /// Returns whether \a line may be appended.
    bool hasRoomFor(const RouterLine &line) const;

    /// Returns the size of the buffer that append() allocates for \a line, or 0 if the current one is large
    /// enough.
    std::size_t allocationFor(const RouterLine &line) const;

    void append(const RouterLine &line);

    /// Writes the next line to \a line; its texts are valid until the block changes. Returns false if all
    /// lines have been read.
    bool read(RouterLine *line);

    bool isRead() const { return m_read == m_used; }

    /// Returns the number of lines, read or not.
    std::size_t lineCount() const { return m_lineCount; }

    /// Returns the size of the block's memory, spare capacity included.
    std::size_t allocatedBytes() const { return sizeof *this + m_memory.capacity(); }

    /// Drops all lines. Releases memory that normal traffic does not need.
    void clear();

private:
    /// Stored before the two texts of each line.
    struct Lengths
    {
        std::size_t type;
        std::size_t line;
    };

    /// Returns the value of m_used after \a line has been appended.
    std::size_t usedAfter(const RouterLine &line) const
    {
        return m_used + sizeof(Lengths) + line.type.size() + line.line.size();
    }

    std::vector<char> m_memory;
    std::size_t m_used = 0;
    std::size_t m_read = 0;
    std::size_t m_lineCount = 0;
};

} // namespace networksettings2g
