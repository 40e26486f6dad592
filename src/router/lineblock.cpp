#include "lineblock.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace networksettings2g {

namespace {

constexpr std::size_t normalBytes = std::size_t{8} * 1024; // several frames of usual length
constexpr int smallUsesBeforeRelease = 100;

} // namespace

bool LineBlock::hasRoomFor(const RouterLine &line) const
{
    return m_lineCount == 0 || (m_lineCount < MaximumLines && usedAfter(line) <= MaximumBytes);
}

std::size_t LineBlock::allocationFor(const RouterLine &line) const
{
    const std::size_t end = usedAfter(line);
    if (end <= m_capacity)
        return 0;
    return std::max(end, std::min(std::max(normalBytes, 2 * m_capacity), MaximumBytes));
}

void LineBlock::enlarge(std::size_t bytes)
{
    std::unique_ptr<char[]> larger(new char[bytes]); // not zeroed, unlike that of std::make_unique()
    std::copy_n(m_memory.get(), m_used, larger.get());
    m_memory = std::move(larger);
    m_capacity = bytes;
}

void LineBlock::append(const RouterLine &line)
{
    if (const std::size_t bytes = allocationFor(line))
        enlarge(bytes);
    const Lengths lengths = {line.type.size(), line.line.size()};
    char *to = m_memory.get() + m_used;
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
    const char *from = m_memory.get() + m_read;
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
    if (m_lineCount == 0)
        return; // not a use
    m_smallUses = m_capacity > normalBytes && m_capacity / 4 > m_used ? m_smallUses + 1 : 0;
    if (m_smallUses >= smallUsesBeforeRelease || m_capacity > MaximumBytes) {
        m_memory.reset();
        m_capacity = 0;
        m_smallUses = 0;
    }
    m_used = 0;
    m_read = 0;
    m_lineCount = 0;
}

} // namespace networksettings2g
