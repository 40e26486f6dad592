#pragma once

#include <QByteArray>
#include <QSet>
#include <QVector>

namespace simulation {

class FrameLedger;
struct DatagramContent;

/// What a channel is configured to send to its receiver.
struct Expectation
{
    QSet<QByteArray> types;
    int divisor = 1;
    bool active = false;
    bool viaRouter = false;

    bool operator==(const Expectation &other) const
    {
        return types == other.types && divisor == other.divisor && active == other.active &&
               viaRouter == other.viaRouter;
    }
};

/// Counts of what has arrived at a receiver.
struct ReceiverStatistics
{
    qint64 datagrams = 0;
    qint64 frames = 0; ///< the first datagram of a router contains two
    qint64 bytes = 0;
    qint64 lost = 0;
    qint64 outOfOrder = 0;
    qint64 malformed = 0; ///< datagrams that are not complete lines of ticked types of one due frame
    qint32 lastNumber = 0;
    QByteArray lastFrame;
};

/// Checks the datagrams of one channel for form, order and completeness. Not thread-safe.
class FrameChecker
{
public:
    explicit FrameChecker(const FrameLedger &ledger);

    /// Sets what is expected from now on. The next datagram starts a new sequence.
    void expect(const Expectation &expectation);

    /// Resets the counts and expects every frame of the ledger from now on, except the first frame of a
    /// routed channel, which is sent together with the second or not at all.
    void begin();

    /// Resets the counts and starts a new sequence with the next datagram.
    void restart();

    /// Starts a new sequence with the next datagram: frames before it do not count as lost.
    void join();

    /// Counts and checks one datagram.
    void take(const QByteArray &datagram);

    /// Returns whether no frame is outstanding after the last one that arrived.
    bool isComplete() const;

    /// Returns the counts with the outstanding frames counted as lost. Call it when no more datagrams will
    /// arrive.
    ReceiverStatistics finalStatistics() const;

    const ReceiverStatistics &statistics() const { return m_statistics; }

private:
    enum class Sequence
    {
        FromStart,
        Joining,
        Following
    };

    bool isWellFormed(const DatagramContent &content) const;
    void followNumbers(const QVector<qint32> &numbers);
    qint64 lastSeen() const;
    qint64 outstanding() const;

    const FrameLedger &m_ledger;
    Expectation m_expectation;
    Sequence m_sequence = Sequence::Joining;
    ReceiverStatistics m_statistics;
};

} // namespace simulation
