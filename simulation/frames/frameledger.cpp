#include "frameledger.h"

#include "frame.h"

namespace simulation {

void FrameLedger::note(qint32 number)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_frames;
    if (number == 0)
        return;
    if (m_end == 0)
        m_first = number;
    m_numbers[size_t(m_end++ % Kept)] = number;
}

qint64 FrameLedger::frames() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_frames;
}

qint32 FrameLedger::first() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_first;
}

qint64 FrameLedger::takeDue(qint64 *position, qint64 after, qint64 upTo, int divisor) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const qint64 forgotten = qMax(m_end - Kept - *position, qint64(0));
    *position += forgotten;
    qint64 due = forgotten / divisor;
    bool isReached = false;
    while (*position < m_end && !isReached) {
        const qint64 number = m_numbers[size_t(*position % Kept)];
        isReached = number >= upTo;
        if (number > upTo)
            break;
        due += number > after && divisorSelects(divisor, number);
        ++*position;
    }
    return due;
}

} // namespace simulation
