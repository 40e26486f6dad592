#pragma once

#include <QtGlobal>

#include <mutex>
#include <vector>

/// The numbers of the frames that the source has given out, against which the receivers judge what arrives.
/// Any thread.
class FrameLedger
{
public:
    /// Notes the next frame. To be called before any line of it goes out. Number 0, which no channel sends,
    /// counts as a frame and no more.
    void note(qint32 number);

    /// Frames noted.
    qint64 frames() const;

    /// The number of the first frame, 0 if there is none yet.
    qint32 first() const;

    /// How many frames a channel of \a divisor had to send with numbers above \a after, up to \a upTo.
    qint64 dueBetween(qint64 after, qint64 upTo, int divisor) const;

private:
    /// A run of numbers without a gap.
    struct Run
    {
        qint64 first;
        qint64 last;
    };

    mutable std::mutex m_mutex;
    std::vector<Run> m_runs;
    qint64 m_frames = 0;
};

/// Whether a channel of \a divisor sends a frame of this number.
inline bool isDue(qint64 number, int divisor)
{
    return number != 0 && number % divisor == 0;
}
