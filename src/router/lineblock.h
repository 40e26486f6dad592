#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace networksettings2g {

/// One line of tracking data. It refers to texts that somebody else keeps.
struct RouterLine
{
    std::string_view type; ///< output type, such as "fr"
    std::string_view line; ///< the text as it came, with its CR and LF
};

/// Copies of lines in the order of their arrival, one after the other in one piece of memory that is reused:
/// a line costs no allocation, and reading is sequential. Not thread-safe.
class LineBlock
{
public:
    /// A block takes no more lines than these; only a single longer line may have a block of its own.
    static constexpr std::size_t MaximumLines = 1024;
    static constexpr std::size_t MaximumBytes = std::size_t{128} * 1024; // a frame of any length fits

    /// Whether \a line may be appended.
    bool hasRoomFor(const RouterLine &line) const;

    /// The size of the memory that append() allocates for \a line; 0 if it needs none.
    std::size_t allocationFor(const RouterLine &line) const;

    void append(const RouterLine &line);

    /// Returns the next line, valid until the block changes; false at the end.
    bool read(RouterLine *line);

    bool isRead() const { return m_read == m_used; }

    /// Number of lines, read or not.
    std::size_t lineCount() const { return m_lineCount; }

    /// All memory of this block, spare capacity included.
    std::size_t allocatedBytes() const { return sizeof *this + m_memory.capacity(); }

    /// Drops all lines. Releases memory that normal traffic does not need.
    void clear();

private:
    /// Stored in front of the two texts.
    struct Lengths
    {
        std::size_t type;
        std::size_t line;
    };

    std::size_t endWith(const RouterLine &line) const
    {
        return m_used + sizeof(Lengths) + line.type.size() + line.line.size();
    }

    std::vector<char> m_memory;
    std::size_t m_used = 0;
    std::size_t m_read = 0;
    std::size_t m_lineCount = 0;
};

} // namespace networksettings2g
