#pragma once

#include <QtGlobal>

#include <set>
#include <vector>

namespace simulation {

/// Finds lost and late frames by the frame numbers of a channel, without knowing what was sent. Not
/// thread-safe.
///
/// The numbers of a channel are the multiples of its divisor. The divisor is taken to be the greatest common
/// divisor of the numbers of the sequence so far. A loss among the first frames may therefore be counted only
/// when later numbers have shown the true divisor. A number is late if a number before it in the sequence is
/// equal or greater. A sender that has restarted begins again with lower numbers: RestartAfter late numbers
/// in succession, in ascending order, are taken for a restart and begin a new sequence.
class FrameSequence
{
public:
    static constexpr int RestartAfter = 10;

    /// Counts one frame number, which must not be 0. Call it in the order of arrival.
    void take(qint64 number);

    /// Returns how many numbers between the first and the greatest one of each sequence have not arrived.
    qint64 lost() const;

    /// Returns how many numbers were late, without those that were taken for a restart.
    qint64 outOfOrder() const { return m_outOfOrder; }

    int restarts() const { return m_restarts; }

private:
    void begin(qint64 number);
    void add(qint64 number);
    void takeLate(qint64 number);
    void restart();

    bool m_hasBegun = false;
    qint64 m_first = 0;            ///< the first number of this sequence
    qint64 m_last = 0;             ///< the greatest number of this sequence
    qint64 m_step = 0;             ///< the greatest common divisor of the numbers of this sequence
    qint64 m_arrived = 0;          ///< how many different numbers of this sequence have arrived
    std::set<qint64> m_recent;     ///< the greatest numbers that have arrived, to recognise duplicates
    std::vector<qint64> m_lateRun; ///< the late numbers that have arrived last, in ascending order
    qint64 m_lateAdded = 0;        ///< how many numbers of m_lateRun were counted in m_arrived
    qint64 m_stepBefore = 0;       ///< m_step before the numbers of m_lateRun
    qint64 m_lostBefore = 0;       ///< lost numbers of previous sequences
    qint64 m_outOfOrder = 0;
    int m_restarts = 0;
};

} // namespace simulation
