#include "routerlog.h"

#include <QDeadlineTimer>
#include <QLoggingCategory>

namespace {

constexpr qint64 pauseMilliseconds = 1000;

// With this threshold nothing that is written here comes through unless a rule says so.
Q_LOGGING_CATEGORY(routerCategory, "networksettings.router", QtFatalMsg)

const char *textOf(RouterLog::Event event)
{
    switch (event) {
    case RouterLog::Started:
        return "started";
    case RouterLog::Stopped:
        return "stopped";
    case RouterLog::LocksRefused:
        return "cannot route: its locks could not be made";
    case RouterLog::SocketRefused:
        return "its socket could not be opened; the next start tries again";
    case RouterLog::ThreadRefused:
        return "stopped, since its thread could not be started";
    case RouterLog::LinesLost:
        return "lines lost, since more came than could be sent";
    case RouterLog::FrameWithoutNumber:
        return "frame dropped: it has no frame number";
    case RouterLog::FrameTooLong:
        return "frame dropped: it is longer than a datagram";
    case RouterLog::FrameWithoutSocket:
        return "frame dropped: there is no socket";
    case RouterLog::FrameWithoutAddress:
        return "frame dropped: the destination has no address";
    case RouterLog::SendTimedOut:
        return "frame dropped: the network did not take it in time";
    case RouterLog::SendFailed:
        return "frame dropped: the network refused it";
    case RouterLog::EventCount:
        break;
    }
    return "";
}

} // namespace

RouterLog::RouterLog(int channelNumber)
    : m_channelNumber(channelNumber)
{
}

void RouterLog::tell(Event event)
{
    if (!routerCategory().isInfoEnabled())
        return;
    Record &record = m_records[event];
    const qint64 now = QDeadlineTimer::current().deadline();
    qint64 next = record.nextTelling;
    if (now < next || !record.nextTelling.compare_exchange_strong(next, now + pauseMilliseconds)) {
        ++record.passedOver;
        return;
    }
    const int passedOver = record.passedOver.exchange(0);
    if (passedOver > 0)
        qCInfo(routerCategory, "channel %d: %s (and %d more since it was last told)", m_channelNumber,
               textOf(event), passedOver);
    else
        qCInfo(routerCategory, "channel %d: %s", m_channelNumber, textOf(event));
}
