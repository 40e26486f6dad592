#pragma once

#include "lineblock.h"

#include <deque>

/// The lines that wait for a worker, first in first out, in blocks that the worker takes as they are. It is
/// bounded, not counting the one block that the worker has in hand: a worker that cannot keep up loses the
/// oldest lines, a block at a time. Not thread-safe.
class LineQueue
{
public:
    static constexpr std::size_t MaximumLines = 16384;
    static constexpr std::size_t MaximumBytes = std::size_t{16} * 1024 * 1024;

    /// A block takes no more lines once it has reached either.
    static constexpr std::size_t BlockLines = 1024;
    static constexpr std::size_t BlockBytes = std::size_t{64} * 1024;

    /// Appends a copy of \a line. Old lines make room for it; a line above MaximumBytes is dropped itself.
    void append(const RouterLine &line);

    /// Puts the oldest lines in the place of those of \a block, which have been read; false, and \a block
    /// stays, if there are none.
    bool take(LineBlock *block);

    std::size_t lineCount() const { return m_lineCount; }

    bool hasFullBlock() const { return isFull(m_newest) || m_lineCount > m_newest.lineCount(); }

    /// Whether lines have been lost in front of the next one since this was last asked.
    bool takeGap();

private:
    static bool isFull(const LineBlock &block);
    void startBlock();
    void dropOldest();
    void subtract(const LineBlock &block);

    LineBlock m_newest;
    std::size_t m_lineCount = 0;
    std::size_t m_byteCount = 0;
    bool m_gap = false;
    std::deque<LineBlock> m_full; // oldest first
};
