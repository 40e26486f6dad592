#include "linequeue.h"

#include <utility>

namespace networksettings2g {

void LineQueue::append(const RouterLine &line)
{
    if (!m_newest.hasRoomFor(line)) {
        m_fullBytes += m_newest.allocatedBytes();
        m_full.push_back(std::exchange(m_newest, {}));
    }
    while (m_lineCount > 0 && !fits(line))
        dropOldest();
    if (!fits(line)) {
        m_linesLost = true;
        return;
    }
    m_newest.append(line);
    ++m_lineCount;
}

/// Returns whether \a line keeps the queue within its limits. Counts both the buffer of m_newest and the one
/// that would replace it, because both exist while the lines are copied.
bool LineQueue::fits(const RouterLine &line) const
{
    return m_lineCount < MaximumLines && allocatedBytes() + m_newest.allocationFor(line) <= MaximumBytes;
}

bool LineQueue::take(LineBlock *block)
{
    if (m_lineCount == 0)
        return false;
    block->clear();
    if (m_full.empty())
        std::swap(*block, m_newest);
    else
        *block = takeOldestFull();
    m_lineCount -= block->lineCount();
    return true;
}

LineBlock LineQueue::takeOldestFull()
{
    LineBlock oldest = std::move(m_full.front());
    m_full.pop_front();
    m_fullBytes -= oldest.allocatedBytes();
    return oldest;
}

void LineQueue::dropOldest()
{
    const LineBlock dropped = m_full.empty() ? std::exchange(m_newest, {}) : takeOldestFull();
    m_lineCount -= dropped.lineCount();
    m_linesLost = true;
}

bool LineQueue::takeLinesLostFlag()
{
    return std::exchange(m_linesLost, false);
}

} // namespace networksettings2g
