#include "frameledger.h"

#include <algorithm>

namespace simulation {

namespace {

/// Returns the greatest multiple of \a divisor that is not greater than \a number.
qint64 multipleUpTo(qint64 number, int divisor)
{
    const qint64 remainder = number % divisor;
    return number - (remainder < 0 ? remainder + divisor : remainder);
}

} // namespace

void FrameLedger::note(qint32 number)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_frames;
    if (number == 0)
        return;
    if (!m_runs.empty() && m_runs.back().last + 1 == number)
        m_runs.back().last = number;
    else
        m_runs.push_back({number, number});
}

qint64 FrameLedger::frames() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_frames;
}

qint32 FrameLedger::first() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_runs.empty() ? 0 : qint32(m_runs.front().first);
}

qint64 FrameLedger::dueBetween(qint64 after, qint64 upTo, int divisor) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    qint64 due = 0;
    for (const Run &run : m_runs) {
        const qint64 below = std::max(after, run.first - 1);
        const qint64 last = std::min(upTo, run.last);
        if (last <= below)
            continue;
        due += (multipleUpTo(last, divisor) - multipleUpTo(below, divisor)) / divisor;
    }
    return due;
}

} // namespace simulation
