#pragma once

#include <QtGlobal>

#include <array>
#include <atomic>

/// Tells a support engineer what a channel's forwarding does, which is silent towards the user. It writes to
/// the logging category "networksettings.router", which is off until somebody switches it on, as with
/// QT_LOGGING_RULES="networksettings.router=true". While it is off an event costs one look at the switch.
class RouterLog
{
public:
    enum Event
    {
        Started,
        Stopped,
        LocksRefused,
        SocketRefused,
        ThreadRefused,
        LinesLost,
        FrameWithoutNumber,
        FrameTooLong,
        FrameWithoutSocket,
        FrameWithoutAddress,
        SendTimedOut,
        SendFailed,
        EventCount
    };

    /// \a channelNumber counts from 1, as the user does.
    explicit RouterLog(int channelNumber);

    /// Tells \a event, but no event more than once a second; how many were passed over is told with the next.
    /// Any thread.
    void tell(Event event);

private:
    struct Record
    {
        std::atomic<qint64> nextTelling{0}; // milliseconds of the monotonic clock
        std::atomic<int> passedOver{0};
    };

    const int m_channelNumber;
    std::array<Record, EventCount> m_records;
};
