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
    qint64 frames = 0; ///< may exceed the datagrams: the first datagram of a router contains two frames
    qint64 bytes = 0;
    qint64 lost = 0;
    qint64 outOfOrder = 0;
    qint64 malformed = 0; ///< datagrams that are not well-formed
    qint32 lastNumber = 0;
    QByteArray lastFrame; ///< the last datagram, even if it was malformed
};

/// Checks the datagrams of one channel for form, order and completeness. Not thread-safe.
///
/// A frame is due if the channel had to send it. A due frame is outstanding if it follows the last frame that
/// arrived in order. An outstanding frame is lost when a frame with a greater number arrives; if it arrives
/// after all, it also counts as out of order.
class FrameChecker
{
public:
    explicit FrameChecker(const FrameLedger &ledger);

    /// Sets what is expected from now on. If a frame has arrived since begin(), the next datagram starts a
    /// new sequence.
    void expect(const Expectation &expectation);

    /// Resets the counts and expects every due frame of the ledger. The exception is the ledger's first frame
    /// if the channel is routed: a router sends it together with the second or not at all.
    void begin();

    /// Resets the counts and starts a new sequence with the next datagram.
    void restart();

    /// Starts a new sequence with the next datagram: frames before it are not expected.
    void join();

    /// Counts and checks one datagram. A datagram is malformed if a line is incomplete, if a type is not
    /// expected, if there is no "fr" line, or if the last frame is not due.
    void take(const QByteArray &datagram);

    /// Returns true if no frame is outstanding, if the channel is not active, or if no frame has arrived
    /// since restart() or join().
    bool isComplete() const;

    /// Returns the counts with the outstanding frames counted as lost. Call it when no more datagrams will
    /// arrive.
    ReceiverStatistics finalStatistics() const;

    const ReceiverStatistics &statistics() const { return m_statistics; }

private:
    enum class Sequence
    {
        FromStart, ///< every frame of the ledger is expected
        Joining,   ///< the next datagram starts a sequence
        Following  ///< the frames after lastNumber are expected
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
