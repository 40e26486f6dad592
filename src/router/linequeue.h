#pragma once

#include <cstddef>
#include <deque>
#include <string>

/// One line of tracking data on its way to a worker.
struct RouterLine
{
    std::string type; ///< output type, such as "fr"
    std::string line; ///< the text as it came, with its CR and LF
};

/// The lines that wait for a worker, first in first out. It is bounded: a worker that cannot keep up loses
/// the oldest lines. Not thread-safe.
class LineQueue
{
public:
    static constexpr std::size_t MaximumLines = 16384;
    static constexpr std::size_t MaximumBytes = std::size_t{16} * 1024 * 1024;

    /// Appends \a line. Old lines make room for it; a line above MaximumBytes is dropped itself.
    void append(RouterLine &&line);

    /// Moves the oldest line to \a line; false without one.
    bool take(RouterLine *line);

    bool isEmpty() const { return m_lines.empty(); }

    /// Whether lines have been lost in front of the next one since this was last asked.
    bool takeGap();

private:
    void dropOldest();

    std::deque<RouterLine> m_lines;
    std::size_t m_bytes = 0; // of the texts in m_lines
    bool m_gap = false;
};
