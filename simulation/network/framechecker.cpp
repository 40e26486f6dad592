#include "framechecker.h"

#include "datagramcontent.h"
#include "frame.h"
#include "frameledger.h"

#include <limits>

namespace simulation {

QString countsText(const ReceiverStatistics &statistics)
{
    return QString::fromLatin1("%1 bytes, %2 lost, %3 out of order, %4 malformed, last number %5")
        .arg(statistics.bytes)
        .arg(statistics.lost)
        .arg(statistics.outOfOrder)
        .arg(statistics.malformed)
        .arg(statistics.lastNumber);
}

FrameChecker::FrameChecker(const FrameLedger &ledger)
    : m_ledger(ledger)
{
}

void FrameChecker::expect(const Expectation &expectation)
{
    if (expectation == m_expectation)
        return;
    m_expectation = expectation;
    if (m_sequence == Sequence::Following)
        join();
}

void FrameChecker::begin()
{
    m_statistics = ReceiverStatistics();
    m_sequence = Sequence::FromStart;
    m_position = 0;
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
    const DatagramContent content = readDatagram(datagram);
    if (!isWellFormed(content))
        ++m_statistics.malformed;
    if (content.numbers.isEmpty())
        return;
    m_statistics.frames += content.numbers.size();
    followNumbers(content.numbers);
}

bool FrameChecker::isWellFormed(const DatagramContent &content) const
{
    // Only the last number must be due: the first datagram of a router also contains the preceding frame,
    // which need not be due.
    const int divisor = m_expectation.isDivisorKnown ? m_expectation.divisor : 1;
    return content.isComplete && !content.numbers.isEmpty() && m_expectation.types.contains(content.types) &&
           divisorSelects(divisor, content.numbers.last());
}

/// Compares \a numbers, the frame numbers of one datagram, with the previous ones and with the ledger. Counts
/// lost frames and frames out of order.
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
        if (number > after && divisorSelects(m_expectation.divisor, number))
            ++arrived;
        previous = number;
    }
    // The difference is negative if frames have arrived that the ledger does not contain yet: a remote
    // Controller sends its datagrams before the frames are recorded.
    const qint64 due = m_ledger.takeDue(&m_position, after, previous, m_expectation.divisor);
    if (known && m_expectation.isDivisorKnown)
        m_statistics.lost += qMax(qint64(0), due - arrived);
    m_statistics.lastNumber = numbers.last();
    m_sequence = Sequence::Following;
}

/// Returns a frame number: only frames with greater numbers are expected.
qint64 FrameChecker::lastSeen() const
{
    if (m_sequence == Sequence::Following)
        return m_statistics.lastNumber;
    return m_expectation.viaRouter ? m_ledger.first() : std::numeric_limits<qint32>::min() - qint64(1);
}

bool FrameChecker::isComplete() const
{
    return !m_expectation.active || !m_expectation.isDivisorKnown || m_sequence == Sequence::Joining ||
           outstanding() == 0;
}

ReceiverStatistics FrameChecker::finalStatistics() const
{
    ReceiverStatistics statistics = m_statistics;
    if (!isComplete())
        statistics.lost += outstanding();
    return statistics;
}

/// Returns the number of outstanding frames, as the class comment defines them.
qint64 FrameChecker::outstanding() const
{
    qint64 position = m_position;
    return m_ledger.takeDue(&position, lastSeen(), std::numeric_limits<qint32>::max(), m_expectation.divisor);
}

} // namespace simulation
