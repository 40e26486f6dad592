#pragma once

#include <QtGlobal>

#include <mutex>
#include <vector>

namespace simulation {

/// Records the numbers of the frames that were sent; the receivers compare what arrives with them.
/// Thread-safe.
class FrameLedger
{
public:
    /// Records the next frame; call it before any line of the frame is sent. Number 0, which no channel
    /// sends, is counted as a frame only.
    void note(qint32 number);

    /// Returns the number of recorded frames.
    qint64 frames() const;

    /// Returns the number of the first frame, or 0 if there is none yet.
    qint32 first() const;

    /// Returns how many frames with numbers greater than \a after and at most \a upTo a channel with
    /// \a divisor had to send.
    qint64 dueBetween(qint64 after, qint64 upTo, int divisor) const;

private:
    /// A sequence of consecutive numbers.
    struct Run
    {
        qint64 first;
        qint64 last;
    };

    mutable std::mutex m_mutex;
    std::vector<Run> m_runs;
    qint64 m_frames = 0;
};

/// Returns whether a channel with \a divisor sends the frame \a number.
inline bool isDue(qint64 number, int divisor)
{
    return number != 0 && number % divisor == 0;
}

} // namespace simulation
