#include "lineblock.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t calmBytes = std::size_t{8} * 1024; // some frames
constexpr std::size_t mostKeptBytes = std::size_t{128} * 1024;

} // namespace

void LineBlock::append(const RouterLine &line)
{
    const Lengths lengths = {line.type.size(), line.line.size()};
    const std::size_t end = m_used + sizeof lengths + lengths.type + lengths.line;
    if (end > m_memory.size())
        reserve(end);
    char *to = m_memory.data() + m_used;
    std::memcpy(to, &lengths, sizeof lengths);
    to += sizeof lengths;
    line.type.copy(to, lengths.type);
    line.line.copy(to + lengths.type, lengths.line);
    m_used = end;
    ++m_lineCount;
}

void LineBlock::reserve(std::size_t bytes)
{
    m_memory.resize(std::max({calmBytes, bytes, 2 * m_memory.size()}));
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
    // What a backlog has taken goes back with the first calm data behind it.
    const bool isWasted = m_memory.size() > calmBytes && m_memory.size() / 4 > m_used;
    if (isWasted || m_memory.size() > mostKeptBytes)
        std::vector<char>().swap(m_memory);
    m_used = 0;
    m_read = 0;
    m_lineCount = 0;
}
