#pragma once

#include <QtGlobal>

#include <mutex>
#include <vector>

namespace simulation {

/// Records the numbers of the frames that were sent. The receivers compare the numbers that arrive with the
/// recorded ones. Thread-safe.
class FrameLedger
{
public:
    /// Records a frame with \a number. A program that sends the frame itself must call this function first,
    /// so that no datagram arrives before its number is recorded. No channel sends a frame with the number 0,
    /// so such a frame counts in frames() only.
    void note(qint32 number);

    /// Returns how many frames were recorded.
    qint64 frames() const;

    /// Returns the frame number of the first frame that has a number other than 0, or 0 if there is none yet.
    qint32 first() const;

    /// Returns how many of the recorded frames a channel with \a divisor had to send, counting only numbers
    /// greater than \a after and not greater than \a upTo.
    qint64 dueBetween(qint64 after, qint64 upTo, int divisor) const;

private:
    /// A sequence of consecutive numbers.
    struct Run
    {
        qint64 first;
        qint64 last;
    };

    mutable std::mutex m_mutex; ///< guards all members below
    std::vector<Run> m_runs;    ///< in the order in which their numbers were recorded
    qint64 m_frames = 0;
};

/// Returns whether a channel with \a divisor sends the frame \a number.
inline bool isDue(qint64 number, int divisor)
{
    return number != 0 && number % divisor == 0;
}

} // namespace simulation
