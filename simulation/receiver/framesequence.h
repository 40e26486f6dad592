#pragma once

#include <QtGlobal>

#include <set>
#include <vector>

namespace simulation {

/// Finds lost and late frames by the frame numbers of a channel, without knowing what was sent. Not
/// thread-safe.
///
/// The numbers of a channel are the multiples of its divisor. The divisor is taken to be the greatest common
/// divisor of all numbers so far, so a loss among the first frames may be counted only when later numbers
/// have shown the true divisor. A sender that has restarted begins again with lower numbers, which is
/// recognised by a row of ascending late numbers; then a new sequence begins.
class FrameSequence
{
public:
    /// So many late numbers in ascending order mean a restart.
    static constexpr int RestartAfter = 10;

    void take(qint64 number);

    /// Returns how many numbers between the first and the last have not arrived.
    qint64 lost() const;

    /// Returns how many numbers came after a greater one, or twice.
    qint64 outOfOrder() const { return m_outOfOrder; }

    int restarts() const { return m_restarts; }

private:
    void begin(qint64 number);
    void add(qint64 number);
    void takeLate(qint64 number);
    void restart();

    bool m_hasBegun = false;
    qint64 m_first = 0;
    qint64 m_last = 0;
    qint64 m_step = 0;
    qint64 m_arrived = 0;          ///< different numbers of this sequence
    std::set<qint64> m_recent;     ///< the greatest of them, to distinguish late ones from duplicates
    std::vector<qint64> m_lateRun; ///< ascending late numbers since the last one that was not late
    qint64 m_lateAdded = 0;        ///< how many of m_lateRun count in m_arrived
    qint64 m_lostBefore = 0;       ///< in previous sequences
    qint64 m_outOfOrder = 0;
    int m_restarts = 0;
};

} // namespace simulation
