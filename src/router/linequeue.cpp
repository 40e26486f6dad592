#include "linequeue.h"

#include <utility>

void LineQueue::append(const RouterLine &line)
{
    const std::size_t bytes = line.type.size() + line.line.size();
    while (m_lineCount > 0 && (m_lineCount >= MaximumLines || m_byteCount + bytes > MaximumBytes))
        dropOldest();
    if (bytes > MaximumBytes) {
        m_gap = true;
        return;
    }
    if (isFull(m_newest))
        startBlock();
    m_newest.append(line);
    ++m_lineCount;
    m_byteCount += bytes;
}

bool LineQueue::take(LineBlock *block)
{
    if (m_lineCount == 0)
        return false;
    block->clear();
    if (m_full.empty()) {
        std::swap(*block, m_newest);
    } else {
        *block = std::move(m_full.front());
        m_full.pop_front();
    }
    subtract(*block);
    return true;
}

bool LineQueue::takeGap()
{
    return std::exchange(m_gap, false);
}

bool LineQueue::isFull(const LineBlock &block)
{
    return block.lineCount() >= BlockLines || block.byteCount() >= BlockBytes;
}

void LineQueue::startBlock()
{
    m_full.push_back(std::exchange(m_newest, {}));
}

void LineQueue::dropOldest()
{
    if (m_full.empty()) {
        subtract(m_newest);
        m_newest.clear();
    } else {
        subtract(m_full.front());
        m_full.pop_front();
    }
    m_gap = true;
}

void LineQueue::subtract(const LineBlock &block)
{
    m_lineCount -= block.lineCount();
    m_byteCount -= block.byteCount();
}
