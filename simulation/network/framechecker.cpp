#include "framechecker.h"

#include "frame.h"
#include "frameledger.h"

#include <limits>

namespace simulation {

FrameChecker::FrameChecker(const FrameLedger &ledger)
    : m_ledger(ledger)
{
}

void FrameChecker::expect(const Expectation &expectation)
{
    m_expectation = expectation;
    if (m_sequence == Sequence::Following)
        join();
}

void FrameChecker::begin()
{
    m_statistics = ReceiverStatistics();
    m_sequence = Sequence::FromStart;
}

void FrameChecker::restart()
{
    m_statistics = ReceiverStatistics();
    join();
}

void FrameChecker::join()
{
    m_sequence = Sequence::Joining;
}

void FrameChecker::take(const QByteArray &datagram)
{
    ++m_statistics.datagrams;
    m_statistics.bytes += datagram.size();
    m_statistics.lastFrame = datagram;
    QVector<qint32> numbers;
    if (!isWellFormed(datagram, &numbers))
        ++m_statistics.malformed;
    if (numbers.isEmpty())
        return;
    m_statistics.frames += numbers.size();
    followNumbers(numbers);
}

/// Sets \a numbers to the frame numbers even if the datagram is malformed.
bool FrameChecker::isWellFormed(const QByteArray &datagram, QVector<qint32> *numbers) const
{
    bool good = datagram.endsWith("\r\n");
    for (int start = 0; start < datagram.size();) {
        const int found = datagram.indexOf("\r\n", start);
        const int end = found < 0 ? datagram.size() : found;
        const QByteArray line = datagram.mid(start, end - start);
        const QByteArray type = lineType(line);
        if (type == "fr")
            numbers->append(frameNumber(line));
        if (!m_expectation.types.contains(type) || line.contains('\r') || line.contains('\n'))
            good = false;
        start = end + 2;
    }
    return good && !numbers->isEmpty() && isDue(numbers->last(), m_expectation.divisor);
}

void FrameChecker::followNumbers(const QVector<qint32> &numbers)
{
    const bool known = m_sequence != Sequence::Joining;
    const qint64 after = lastSeen();
    qint64 arrived = 0;
    qint64 previous = m_sequence == Sequence::Following ? after : std::numeric_limits<qint64>::min();
    for (const qint32 number : numbers) {
        if (number <= previous) {
            ++m_statistics.outOfOrder;
            return;
        }
        if (number > after && isDue(number, m_expectation.divisor))
            ++arrived;
        previous = number;
    }
    if (known)
        m_statistics.lost +=
            qMax(qint64(0), m_ledger.dueBetween(after, previous, m_expectation.divisor) - arrived);
    m_statistics.lastNumber = numbers.last();
    m_sequence = Sequence::Following;
}

/// Returns the number after which frames are expected.
qint64 FrameChecker::lastSeen() const
{
    if (m_sequence == Sequence::Following)
        return m_statistics.lastNumber;
    return m_expectation.viaRouter ? m_ledger.first() : std::numeric_limits<qint32>::min() - qint64(1);
}

bool FrameChecker::isComplete() const
{
    return !m_expectation.active || m_sequence == Sequence::Joining || outstanding() == 0;
}

ReceiverStatistics FrameChecker::finalStatistics() const
{
    ReceiverStatistics statistics = m_statistics;
    if (!isComplete())
        statistics.lost += outstanding();
    return statistics;
}

/// Returns how many frames had to be sent after the last one that arrived.
qint64 FrameChecker::outstanding() const
{
    return m_ledger.dueBetween(lastSeen(), std::numeric_limits<qint32>::max(), m_expectation.divisor);
}

} // namespace simulation
