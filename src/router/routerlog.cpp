#include "routerlog.h"

#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <QMetaObject>

namespace networksettings2g {

namespace {

constexpr qint64 pauseMilliseconds = 1000;

// QtFatalMsg: silent unless a logging rule enables the category.
Q_LOGGING_CATEGORY(routerCategory, "networksettings.router", QtFatalMsg)

/// The texts of the events, in the order of RouterLog::Event.
constexpr std::array<const char *, RouterLog::EventCount> texts = {
    "started",
    "restarted between two frames",
    "restarted: the frame in progress is dropped",
    "stopped",
    "reset between two frames",
    "reset: the frame in progress is dropped",
    "cannot route: its locks could not be created",
    "its socket could not be opened; the next start tries again",
    "stopped: its thread could not be started",
    "lines dropped: more arrived than could be sent",
    "frame dropped: it has no valid frame number",
    "frame dropped: it does not fit into one datagram",
    "frame dropped: there is no socket",
    "no frame is sent: the destination has no address",
    "frame dropped: the socket was not ready in time",
    "frame dropped: sending it failed",
};
static_assert(texts.back(), "each event has a text");

} // namespace

RouterLog::RouterLog(QObject *channel, int channelNumber)
    : m_channel(channel)
    , m_channelNumber(channelNumber)
{
}

void RouterLog::log(Event event)
{
    if (const std::optional<int> suppressed = admit(event))
        write(event, *suppressed);
}

void RouterLog::logChange(const QString &text) const
{
    qCInfo(routerCategory, "channel %d: %s", m_channelNumber, qPrintable(text));
}

void RouterLog::post(std::optional<Event> event)
{
    const std::optional<int> suppressed = event ? admit(*event) : std::nullopt;
    if (!suppressed)
        return;
    QMetaObject::invokeMethod(
        m_channel, [this, event, suppressed] { write(*event, *suppressed); }, Qt::QueuedConnection);
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

void RouterLog::write(Event event, int suppressed) const
{
    if (suppressed > 0)
        qCInfo(routerCategory, "channel %d: %s (%d more suppressed)", m_channelNumber, texts[event],
               suppressed);
    else
        qCInfo(routerCategory, "channel %d: %s", m_channelNumber, texts[event]);
}

} // namespace networksettings2g
