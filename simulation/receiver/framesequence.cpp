#include "framesequence.h"

#include <numeric>
#include <utility>

namespace simulation {

void FrameSequence::take(qint64 number)
{
    if (!m_hasBegun) {
        begin(number);
    } else if (number > m_last) {
        m_lateRun.clear();
        m_lateAdded = 0;
        m_last = number;
        add(number);
    } else {
        takeLate(number);
    }
}

qint64 FrameSequence::lost() const
{
    if (m_step == 0)
        return m_lostBefore;
    // Number 0 is never sent, so it is not missing between negative and positive numbers.
    const qint64 zeros = m_first < 0 && m_last > 0 ? 1 : 0;
    return m_lostBefore + (m_last - m_first) / m_step + 1 - zeros - m_arrived;
}

void FrameSequence::begin(qint64 number)
{
    m_hasBegun = true;
    m_first = m_last = number;
    m_step = m_arrived = 0;
    m_recent.clear();
    m_lateRun.clear();
    m_lateAdded = 0;
    add(number);
}

void FrameSequence::add(qint64 number)
{
    // Limits the memory. A frame that arrives after this many greater numbers still counts as lost.
    constexpr size_t remembered = 1000;
    m_step = std::gcd(m_step, number);
    ++m_arrived;
    m_recent.insert(number);
    if (m_recent.size() > remembered)
        m_recent.erase(m_recent.begin());
}

void FrameSequence::takeLate(qint64 number)
{
    ++m_outOfOrder;
    if (!m_lateRun.empty() && number <= m_lateRun.back()) {
        m_lateRun.clear();
        m_lateAdded = 0;
    }
    if (m_lateRun.empty())
        m_stepBefore = m_step;
    m_lateRun.push_back(number);
    if (number > *m_recent.begin() && m_recent.count(number) == 0) {
        add(number);
        ++m_lateAdded;
    }
    if (m_lateRun.size() == RestartAfter)
        restart();
}

/// Undoes what the numbers of m_lateRun have changed, and makes them the start of a new sequence.
void FrameSequence::restart()
{
    m_step = m_stepBefore;
    m_arrived -= m_lateAdded;
    m_outOfOrder -= RestartAfter;
    m_lostBefore = lost();
    ++m_restarts;
    const std::vector<qint64> numbers = std::exchange(m_lateRun, {});
    m_hasBegun = false;
    for (const qint64 number : numbers)
        take(number);
}

} // namespace simulation
