#pragma once

#include "lineblock.h"

#include <cstddef>
#include <string>
#include <string_view>

/// Says which line is the first that is worth waking a worker for, since a frame may be complete with it. The
/// lines before it can lie in the queue: a worker that took them one by one would do nothing that anyone can
/// see. Not thread-safe.
class WakeRule
{
public:
    /// The first line.
    WakeRule() = default;

    /// The \a lines-th line (at least 1), or one before it of the type \a opener. With \a opensNext that
    /// type is expected as the first of them.
    WakeRule(std::size_t lines, std::string_view opener, bool opensNext)
        : m_lines(lines)
        , m_opener(opener)
        , m_opensNext(opensNext)
    {
    }

    /// Whether \a newest, the last of \a count lines, is the one. Never asked again once it was.
    bool isDue(const RouterLine &newest, std::size_t count) const
    {
        return count >= m_lines || (newest.type == m_opener && !(m_opensNext && count == 1));
    }

private:
    std::size_t m_lines = 1;
    std::string m_opener;
    bool m_opensNext = false;
};
