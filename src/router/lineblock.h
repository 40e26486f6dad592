#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace networksettings2g {

/// One line of tracking data. It does not own its texts.
struct RouterLine
{
    std::string_view type; ///< output type, such as "fr"
    std::string_view line; ///< the text as it arrived, including any CR and LF
};

/// Copies of lines in the order of their arrival, stored one after the other in one buffer. The buffer is
/// reused, so that append() rarely allocates memory, and is read sequentially. Not thread-safe.
class LineBlock
{
public:
    /// The limits of a block.
    /// Note: A line that is longer than MaximumBytes gets a block of its own, which exceeds them.
    static constexpr std::size_t MaximumLines = 1024;
    static constexpr std::size_t MaximumBytes = std::size_t{128} * 1024; // about twice the longest frame

    /// Returns whether \a line may be appended.
    bool hasRoomFor(const RouterLine &line) const;

    /// Returns the size to which append() enlarges the buffer for \a line, or 0 if it is large enough.
    std::size_t allocationFor(const RouterLine &line) const;

    /// Appends a copy of \a line. hasRoomFor(line) must be true.
    void append(const RouterLine &line);

    /// Writes the next line to \a line; its texts are valid until the next append() or clear(). Returns false
    /// if all lines have been read.
    bool read(RouterLine *line);

    /// Returns whether all lines have been read.
    bool isRead() const { return m_read == m_used; }

    /// Returns the number of lines, read or not.
    std::size_t lineCount() const { return m_lineCount; }

    /// Returns the size of the block and its buffer in bytes, spare capacity included.
    std::size_t allocatedBytes() const { return sizeof *this + m_capacity; }

    /// Returns the number of bytes that the lines take, read or not.
    std::size_t usedBytes() const { return m_used; }

    /// Drops all lines, read or not. Keeps the buffer, because the page faults of a new one cost more than
    /// the copy of the lines.
    /// Note: Releases a buffer that exceeds MaximumBytes, or that exceeds 8 KiB and of which each of the last
    /// 100 uses needed less than a quarter.
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

    void enlarge(std::size_t bytes);

    std::unique_ptr<char[]> m_memory;
    std::size_t m_capacity = 0; // bytes of m_memory
    std::size_t m_used = 0;     // bytes of m_memory that hold lines
    std::size_t m_read = 0;     // bytes of m_memory that have been read
    std::size_t m_lineCount = 0;
    int m_smallUses = 0; // uses in a row that needed less than a quarter of m_memory
};

} // namespace networksettings2g
