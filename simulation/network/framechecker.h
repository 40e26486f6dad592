#pragma once

#include <QByteArray>
#include <QSet>
#include <QVector>

class FrameLedger;

/// What a receiver may expect of its channel.
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

/// What has arrived at a receiver.
struct ReceiverStatistics
{
    qint64 datagrams = 0;
    qint64 frames = 0; ///< the first datagram of a fresh router holds two
    qint64 bytes = 0;
    qint64 lost = 0;
    qint64 outOfOrder = 0;
    qint64 malformed = 0; ///< datagrams that are not made of whole lines of ticked types of one due frame
    qint32 lastNumber = 0;
    QByteArray lastFrame;
};

/// Judges the datagrams of one channel. Not to be used on several threads at a time.
class FrameChecker
{
public:
    explicit FrameChecker(const FrameLedger &ledger);

    /// Changes what is expected from now on. The next datagram is taken as the first of a new sequence.
    void expect(const Expectation &expectation);

    /// Forgets the counts. From now on every frame that the ledger holds has to arrive; of a channel that is
    /// fed by a router, every frame but the first, which leaves with the second or not at all.
    void begin();

    /// Takes the next datagram as the first of a new sequence: what came before it is not missed.
    void join();

    /// Counts and judges one datagram.
    void take(const QByteArray &datagram);

    /// Whether nothing is outstanding behind the last frame that arrived.
    bool isComplete() const;

    /// The counts, with the frames behind the last one that arrived counted as lost. For the end, when no
    /// more will come.
    ReceiverStatistics finalStatistics() const;

    const ReceiverStatistics &statistics() const { return m_statistics; }

private:
    enum class Sequence
    {
        FromStart,
        Joining,
        Following
    };

    bool isWellFormed(const QByteArray &datagram, QVector<qint32> *numbers) const;
    void followNumbers(const QVector<qint32> &numbers);
    qint64 lastSeen() const;
    qint64 outstanding() const;

    const FrameLedger &m_ledger;
    Expectation m_expectation;
    Sequence m_sequence = Sequence::Joining;
    ReceiverStatistics m_statistics;
};
