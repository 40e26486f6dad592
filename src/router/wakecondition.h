#pragma once

#include "lineblock.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace networksettings2g {

/// Decides at which queued line a sleeping worker is woken: at the first one with which a frame may be
/// complete. Earlier lines can stay in the queue, because they complete no frame. Not thread-safe.
class WakeCondition
{
public:
    /// Is met by the next line.
    WakeCondition() = default;

    /// Is met by the \a lines-th line (at least 1), or earlier by a line of type \a opener. With
    /// \a openerExpectedFirst, a first line of that type meets it only if \a lines is 1.
    WakeCondition(std::size_t lines, std::string_view opener, bool openerExpectedFirst)
        : m_lines(lines)
        , m_opener(opener)
        , m_openerExpectedFirst(openerExpectedFirst)
    {
    }

    /// Returns whether to wake the worker for \a newest, the last of \a count queued lines. Must be called
    /// for each line until it returns true, because it remembers no earlier line.
    bool isMet(const RouterLine &newest, std::size_t count) const
    {
        const bool isExpected = m_openerExpectedFirst && count == 1;
        return count >= m_lines || (newest.type == m_opener && !isExpected);
    }

private:
    std::size_t m_lines = 1;
    std::string m_opener;
    bool m_openerExpectedFirst = false;
};

} // namespace networksettings2g
