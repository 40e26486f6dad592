#pragma once

#include <QString>

#include <array>
#include <atomic>
#include <optional>

class QObject;

namespace networksettings2g {

/// Logs what a channel's forwarding does, for support engineers; the user sees nothing of it. It writes to
/// the logging category "networksettings.router", which is off unless a rule enables it, such as
/// QT_LOGGING_RULES="networksettings.router=true". While the category is off, an event costs only the check
/// that it is off.
class RouterLog
{
public:
    enum Event
    {
        Started,
        Restarted,
        RestartedWithinFrame,
        Stopped,
        Reset,
        ResetWithinFrame,
        LocksRefused,
        SocketRefused,
        ThreadRefused,
        LinesLost,
        FrameWithoutNumber,
        FrameTooLong,
        FrameWithoutSocket,
        WithoutAddress,
        SendTimedOut,
        SendFailed,
        EventCount
    };

    /// \a channelNumber counts from 1, as the user does. \a channel must live on the GUI thread and must have
    /// the log as a member: queued messages use the log and are discarded when \a channel is destroyed.
    RouterLog(QObject *channel, int channelNumber);

    /// Logs \a event, at most once per second for each kind of event; the next message of that kind gives the
    /// number of suppressed ones. GUI thread only.
    void log(Event event);

    /// Logs \a text, about a change by the user. None is suppressed: the last one counts. GUI thread only.
    void logChange(const QString &text) const;

    /// Logs \a event, if it is not empty, as log() does, but from the GUI thread's event loop, so that the
    /// caller does not wait for the host: the host's message handler may be slow, or may wait for the GUI
    /// thread, which may be waiting for the caller. May be called on any thread.
    void post(std::optional<Event> event);

private:
    struct Record
    {
        std::atomic<qint64> nextMessage{0}; // its earliest time, in milliseconds of the monotonic clock
        std::atomic<int> suppressed{0};     // events not logged since the last message
    };

    std::optional<int> admit(Event event);
    void write(Event event, int suppressed) const;

    QObject *const m_channel;
    const int m_channelNumber;
    std::array<Record, EventCount> m_records;
};

} // namespace networksettings2g
