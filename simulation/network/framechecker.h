#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>
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
    bool isDivisorKnown = true; ///< false: the sender may use another divisor, so no frame counts as lost

    bool operator==(const Expectation &other) const
    {
        return types == other.types && divisor == other.divisor && active == other.active &&
               viaRouter == other.viaRouter && isDivisorKnown == other.isDivisorKnown;
    }
};

/// The counts of a receiver. FrameChecker and PortMonitor define which frames and datagrams they count.
struct ReceiverStatistics
{
    qint64 datagrams = 0;
    qint64 frames = 0; ///< may exceed the datagrams: the first datagram of a router contains two frames
    qint64 bytes = 0;
    qint64 lost = 0;       ///< frames
    qint64 outOfOrder = 0; ///< frames
    qint64 malformed = 0;  ///< datagrams
    qint32 lastNumber = 0; ///< the last frame number, or 0 if there is none yet
    QByteArray lastFrame;  ///< the last datagram, even if it was malformed
};

/// Returns all counts but those of datagrams and frames, and the last number.
QString countsText(const ReceiverStatistics &statistics);

/// Checks the datagrams of one channel for form, order and completeness. Not thread-safe.
///
/// A frame of the ledger is due if the channel has to send it. A due frame is outstanding if it is expected
/// and its number is greater than that of the last frame that arrived in order. An outstanding frame is
/// counted as lost when a frame with a greater number arrives. If it arrives after all, it is also counted as
/// out of order.
class FrameChecker
{
public:
    /// \a ledger must outlive this object.
    explicit FrameChecker(const FrameLedger &ledger);

    /// Sets what is expected from now on. If that has changed, the next datagram starts a new sequence,
    /// unless begin() was called and was not followed by a frame, restart() or join().
    void expect(const Expectation &expectation);

    /// Resets the counts and expects every due frame of the ledger. In router mode, the ledger's first frame
    /// is not expected: a router sends it together with the second frame or not at all.
    void begin();

    /// Resets the counts and starts a new sequence with the next datagram.
    void restart();

    /// Starts a new sequence with the next datagram: frames that precede it are not expected.
    void join();

    /// Counts and checks one datagram. Each "fr" line counts as a frame. The last frame number becomes
    /// lastNumber, unless a frame of the datagram is out of order. A datagram is malformed if it is not
    /// complete (see DatagramContent), if a type is not expected, if there is no "fr" line, or if the last
    /// frame number is 0 or not divisible by the divisor.
    void take(const QByteArray &datagram);

    /// Returns true if no frame is outstanding, if the channel is not active, if its divisor is unknown, or
    /// if the next datagram starts a new sequence.
    bool isComplete() const;

    /// Returns the counts. Unless isComplete() is true, the outstanding frames are counted as lost. Call it
    /// when no more datagrams will arrive.
    ReceiverStatistics finalStatistics() const;

    const ReceiverStatistics &statistics() const { return m_statistics; }

private:
    enum class Sequence
    {
        FromStart, ///< the due frames of the ledger are expected, as after begin()
        Joining,   ///< the next datagram starts a sequence
        Following  ///< the due frames with numbers greater than lastNumber are expected
    };

    bool isWellFormed(const DatagramContent &content) const;
    void followNumbers(const QVector<qint32> &numbers);
    qint64 lastSeen() const;
    qint64 outstanding() const;

    const FrameLedger &m_ledger;
    Expectation m_expectation;
    Sequence m_sequence = Sequence::Joining;
    qint64 m_position = 0; ///< in the ledger
    ReceiverStatistics m_statistics;
};

} // namespace simulation
