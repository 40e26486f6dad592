#include "lineblock.h"

#include <algorithm>
#include <cstring>

namespace networksettings2g {

namespace {

constexpr std::size_t normalBytes = std::size_t{8} * 1024; // several frames of usual length

} // namespace

bool LineBlock::hasRoomFor(const RouterLine &line) const
{
    return m_lineCount == 0 || (m_lineCount < MaximumLines && usedAfter(line) <= MaximumBytes);
}

std::size_t LineBlock::allocationFor(const RouterLine &line) const
{
    const std::size_t end = usedAfter(line);
    if (end <= m_memory.size())
        return 0;
    return std::max(end, std::min(std::max(normalBytes, 2 * m_memory.size()), MaximumBytes));
}

void LineBlock::append(const RouterLine &line)
{
    if (const std::size_t bytes = allocationFor(line)) {
        m_memory.reserve(bytes); // resize() alone may allocate more than allocationFor() has returned
        m_memory.resize(bytes);
    }
    const Lengths lengths = {line.type.size(), line.line.size()};
    char *to = m_memory.data() + m_used;
    std::memcpy(to, &lengths, sizeof lengths);
    to += sizeof lengths;
    line.type.copy(to, lengths.type);
    line.line.copy(to + lengths.type, lengths.line);
    m_used = usedAfter(line);
    ++m_lineCount;
}

bool LineBlock::read(RouterLine *line)
{
    if (isRead())
        return false;
    const char *from = m_memory.data() + m_read;
    Lengths lengths = {};
    std::memcpy(&lengths, from, sizeof lengths);
    from += sizeof lengths;
    line->type = {from, lengths.type};
    line->line = {from + lengths.type, lengths.line};
    m_read += sizeof lengths + lengths.type + lengths.line;
    return true;
}

void LineBlock::clear()
{
    // A buffer that has grown during a backlog is released as soon as a block uses less than a quarter of it;
    // a buffer enlarged for a single overlong line is always released.
    const bool isWasted = m_memory.size() > normalBytes && m_memory.size() / 4 > m_used;
    if (isWasted || m_memory.size() > MaximumBytes)
        std::vector<char>().swap(m_memory);
    m_used = 0;
    m_read = 0;
    m_lineCount = 0;
}

} // namespace networksettings2g
