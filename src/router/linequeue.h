#pragma once

#include "lineblock.h"

#include <deque>

namespace networksettings2g {

/// A bounded FIFO of lines, from which whole blocks are taken. A block that has been taken does not count
/// towards the limits. If the lines are not taken fast enough, the oldest are dropped, one block at a time.
/// Not thread-safe.
///
/// Invariants:
/// 1. lineCount() is at most MaximumLines, allocatedBytes() at most MaximumBytes.
/// 2. No block in m_full is empty, and all lines in m_full are older than those in m_newest.
class LineQueue
{
public:
    static constexpr std::size_t MaximumLines = 16384;
    static constexpr std::size_t MaximumBytes = std::size_t{16} * 1024 * 1024;

    /// Appends a copy of \a line. Drops the oldest lines if there is no room for it, and \a line itself if it
    /// is too long even for an empty queue.
    void append(const RouterLine &line);

    /// Replaces the contents of \a block, whose lines must all have been read, with the oldest lines. Returns
    /// false and leaves \a block unchanged if the queue is empty.
    bool take(LineBlock *block);

    std::size_t lineCount() const { return m_lineCount; }

    /// Returns the number of bytes that the lines of the newest block take.
    std::size_t newestBytes() const { return m_newest.usedBytes(); }

    /// Returns the memory of all blocks in bytes, spare capacity included.
    std::size_t allocatedBytes() const { return m_fullBytes + m_newest.allocatedBytes(); }

    /// Returns whether the worker does not keep up: more than one block is queued, or lines were dropped
    /// since the last call of takeLinesLostFlag().
    bool hasBacklog() const { return !m_full.empty() || m_linesLost; }

    /// Returns whether lines were dropped since the last call. Right after take(), this means that lines are
    /// missing before the block just taken.
    bool takeLinesLostFlag();

private:
    bool fits(const RouterLine &line) const;
    LineBlock takeOldestFull();
    void dropOldest();

    LineBlock m_newest;
    std::deque<LineBlock> m_full; // oldest first
    std::size_t m_fullBytes = 0;  // allocated by m_full
    std::size_t m_lineCount = 0;
    bool m_linesLost = false;
};

} // namespace networksettings2g
