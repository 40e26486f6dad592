#include "linequeue.h"

#include <utility>

namespace {

std::size_t byteCount(const RouterLine &line)
{
    return line.type.size() + line.line.size();
}

} // namespace

void LineQueue::append(RouterLine &&line)
{
    const std::size_t bytes = byteCount(line);
    while (!m_lines.empty() && (m_lines.size() >= MaximumLines || m_bytes + bytes > MaximumBytes))
        dropOldest();
    if (bytes > MaximumBytes) {
        m_gap = true;
        return;
    }
    m_bytes += bytes;
    m_lines.push_back(std::move(line));
}

bool LineQueue::take(RouterLine *line)
{
    if (m_lines.empty())
        return false;
    *line = std::move(m_lines.front());
    m_lines.pop_front();
    m_bytes -= byteCount(*line);
    return true;
}

bool LineQueue::takeGap()
{
    return std::exchange(m_gap, false);
}

void LineQueue::dropOldest()
{
    m_bytes -= byteCount(m_lines.front());
    m_lines.pop_front();
    m_gap = true;
}
