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
    /// The number of frames that are kept: more than half a minute at the highest rate.
    static constexpr int Kept = 65536;

    /// Records a frame with \a number. A program that sends the frame itself must call this function first,
    /// so that no datagram arrives before its number is recorded. No channel sends a frame with the number 0,
    /// so such a frame counts in frames() only.
    void note(qint32 number);

    /// Returns how many frames were recorded.
    qint64 frames() const;

    /// Returns the frame number of the first frame that has a number other than 0, or 0 if there is none yet.
    qint32 first() const;

    /// Reads the recorded frames in order, from \a position on, until one has the number \a upTo or a greater
    /// one, or until the end. Returns how many of them a channel with \a divisor had to send, counting only
    /// numbers greater than \a after and not greater than \a upTo. Of frames that are not kept any more,
    /// every one in \a divisor counts. Sets \a position, which must be 0 at first, behind the counted frames.
    qint64 takeDue(qint64 *position, qint64 after, qint64 upTo, int divisor) const;

private:
    mutable std::mutex m_mutex;                                ///< guards all members below
    std::vector<qint32> m_numbers = std::vector<qint32>(Kept); ///< a ring buffer
    qint64 m_end = 0;                                          ///< position of the next frame
    qint64 m_frames = 0;
    qint32 m_first = 0;
};

} // namespace simulation
