#include "routerlog.h"

#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <QMetaObject>

namespace networksettings2g {

namespace {

constexpr qint64 pauseMilliseconds = 1000;

// QtFatalMsg: silent unless a logging rule enables the category.
Q_LOGGING_CATEGORY(routerCategory, "networksettings.router", QtFatalMsg)

const char *textOf(RouterLog::Event event)
{
    switch (event) {
    case RouterLog::Started:
        return "started";
    case RouterLog::Restarted:
        return "restarted between two frames";
    case RouterLog::RestartedWithinFrame:
        return "restarted: the frame in progress is dropped";
    case RouterLog::Stopped:
        return "stopped";
    case RouterLog::Reset:
        return "reset between two frames";
    case RouterLog::ResetWithinFrame:
        return "reset: the frame in progress is dropped";
    case RouterLog::DestinationChanged:
        return "the destination is now ";
    case RouterLog::DivisorChanged:
        return "the divisor is now ";
    case RouterLog::LocksRefused:
        return "cannot route: its locks could not be created";
    case RouterLog::SocketRefused:
        return "its socket could not be opened; the next start tries again";
    case RouterLog::ThreadRefused:
        return "stopped: its thread could not be started";
    case RouterLog::LinesLost:
        return "lines dropped: more arrived than could be sent";
    case RouterLog::FrameWithoutNumber:
        return "frame dropped: it has no valid frame number";
    case RouterLog::FrameTooLong:
        return "frame dropped: it does not fit into one datagram";
    case RouterLog::FrameWithoutSocket:
        return "frame dropped: there is no socket";
    case RouterLog::FrameWithoutAddress:
        return "frame dropped: the destination has no address";
    case RouterLog::SendTimedOut:
        return "frame dropped: the socket was not ready in time";
    case RouterLog::SendFailed:
        return "frame dropped: sending it failed";
    case RouterLog::EventCount:
        break;
    }
    return "";
}

} // namespace

RouterLog::RouterLog(QObject *channel, int channelNumber)
    : m_channel(channel)
    , m_channelNumber(channelNumber)
{
}

void RouterLog::log(Event event, const QString &value)
{
    if (const std::optional<int> suppressed = admit(event))
        write(event, value, *suppressed);
}

void RouterLog::post(std::optional<Event> event)
{
    const std::optional<int> suppressed = event ? admit(*event) : std::nullopt;
    if (!suppressed)
        return;
    QMetaObject::invokeMethod(
        m_channel, [this, event, suppressed] { write(*event, {}, *suppressed); }, Qt::QueuedConnection);
}

/// If \a event may be logged now, returns how many events of its kind were suppressed since the last logged
/// one. Otherwise returns nothing and, if the category is enabled, counts the event as suppressed.
std::optional<int> RouterLog::admit(Event event)
{
    if (!routerCategory().isInfoEnabled())
        return {};
    Record &record = m_records[event];
    const qint64 now = QDeadlineTimer::current().deadline();
    qint64 next = record.nextMessage;
    if (now < next || !record.nextMessage.compare_exchange_strong(next, now + pauseMilliseconds)) {
        ++record.suppressed;
        return {};
    }
    return record.suppressed.exchange(0);
}

void RouterLog::write(Event event, const QString &value, int suppressed) const
{
    const QByteArray text = textOf(event) + value.toLatin1();
    if (suppressed > 0)
        qCInfo(routerCategory, "channel %d: %s (%d more suppressed)", m_channelNumber, text.constData(),
               suppressed);
    else
        qCInfo(routerCategory, "channel %d: %s", m_channelNumber, text.constData());
}

} // namespace networksettings2g
