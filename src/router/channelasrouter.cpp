#include "channelasrouter.h"

#include "channelfanout.h"
#include "mutexguard.h"
#include "platformthreads.h"
#include "udp.h"

using namespace networksettings2g;

namespace {

constexpr uint32_t stopMilliseconds = 10; // time in which the worker can end before a stop locks m_frameMutex
constexpr uint32_t sendTimeoutMicroseconds = 100000;

uint32_t workerEntry(void *channel)
{
    if (channel)
        static_cast<ChannelAsRouter *>(channel)->runWorker();
    return 0;
}

} // namespace

ChannelAsRouter::ChannelAsRouter(IOManager *ioManager, int channelIndex, BackendVersions *versions)
    : Channel(ioManager, channelIndex, versions)
    , m_log(this, number())
{
    mutexCreate(&m_frameMutex);
    if (!hasLocks())
        m_log.log(RouterLog::LocksRefused);
    setDestinationCallback([this] { logDestination(); });
    setDivisorCallback([this] { logDivisor(); });
}

ChannelAsRouter::~ChannelAsRouter()
{
    m_routerRunning = false;
    if (hasLocks())
        m_lines.interruptWorker();
    threadAwait(this);
    if (m_socketHandle)
        udpClose(m_socketHandle);
    if (m_frameMutex)
        mutexDestroy(m_frameMutex);
}

std::size_t ChannelAsRouter::enqueue(const RouterLine &line)
{
    const bool isWanted = isActive() && m_routerRunning && destination().address != 0;
    return isWanted ? m_lines.append(line) : 0;
}

void ChannelAsRouter::resetFrame()
{
    if (!hasLocks())
        return;
    const bool dropped = dropFrameWithPriority();
    if (m_routerRunning)
        m_log.post(dropped ? RouterLog::ResetWithinFrame : RouterLog::Reset);
}

void ChannelAsRouter::updateRouterActiveState(bool active)
{
    if (!hasLocks())
        return;
    if (active && isActive())
        startRouter();
    else
        stopRouter();
}

void ChannelAsRouter::startRouter()
{
    const bool wasRunning = m_routerRunning;
    bool hasSocket = false;
    bool dropped = false;
    // Repeat a look-up that has failed. No lock is held, because data threads must not wait for a look-up.
    setHost(host());
    {
        // One lock for both: a worker that is about to stop handles its last lines either before, so that
        // they are dropped with the frame, or after, when it finds m_routerRunning set and continues. No line
        // of the new run is queued before.
        const MutexGuard lock(m_frameMutex, &m_frameLocksWanted);
        hasSocket = m_socketHandle || udpOpen(&m_socketHandle, 0, UdpAnyPort) == UdpSucceeded;
        dropped = dropFrame();
        m_routerRunning = true;
    }
    const RouterLog::Event restart = dropped ? RouterLog::RestartedWithinFrame : RouterLog::Restarted;
    m_log.log(wasRunning ? restart : RouterLog::Started);
    if (!hasSocket)
        m_log.log(RouterLog::SocketRefused);
    if (destination().address == 0)
        m_log.log(RouterLog::WithoutAddress);
    startThread();
}

void ChannelAsRouter::stopRouter()
{
    const bool wasRunning = m_routerRunning.exchange(false);
    m_lines.interruptWorker();
    threadSleep(stopMilliseconds);
    dropFrameWithPriority();
    if (wasRunning)
        m_log.log(RouterLog::Stopped);
}

void ChannelAsRouter::startThread()
{
    m_lines.announceThread();
    if (threadStart(workerEntry, this) == Succeeded)
        return;
    // A worker that exists, or is about to, continues, because m_routerRunning is set.
    if (m_lines.withdrawThread())
        return;
    m_routerRunning = false;
    m_log.log(RouterLog::ThreadRefused);
}

/// The worker's loop:
///
///     become the worker, or return if another thread is the worker
///     until the run is no longer wanted:
///         if all lines are read and no frame is complete:  sleep until called, at most 100 ms
///         serve each called channel of the fan-out, see serveFrame()
///         with m_frameMutex:  take the next lines, read up to the end of one frame, send it
void ChannelAsRouter::runWorker()
{
    if (!m_lines.tryBecomeWorker())
        return;
    {
        const MutexGuard lock(m_frameMutex);
        m_frame.startRun();
    }
    while (!m_lines.tryStopWorker()) {
        while (m_frameLocksWanted > 0)
            threadSleep(1);
        waitForLines();
        // Serve the other channels first, because the send on this channel's own socket may wait. Serve them
        // also when stopping: a data thread that has called several channels may have woken only this worker.
        if (m_fanOut)
            m_fanOut->serveCalled();
        handleLines(); // also when stopping: lines left in the queue belong to the frame that the stop drops
    }
}

/// Lets the worker sleep, unless unread lines or a complete frame are left.
void ChannelAsRouter::waitForLines()
{
    WakeCondition nextCompletion;
    {
        const MutexGuard lock(m_frameMutex);
        if (!m_block.isRead() || m_frame.isComplete())
            return;
        nextCompletion = m_frame.nextCompletion();
    }
    m_lines.waitForLines(std::move(nextCompletion));
}

/// Handles lines up to the end of one frame: those left in m_block or, if there are none, the next block of
/// the queue.
void ChannelAsRouter::handleLines()
{
    LogEvent lost;
    LogEvent dropped;
    {
        const MutexGuard lock(m_frameMutex);
        if (m_block.isRead() && !m_frame.isComplete() &&
            m_lines.take(&m_block) == LineMonitor::Taken::LinesAfterGap) {
            m_frame.startAfterGap();
            lost = RouterLog::LinesLost;
        }
        dropped = assembleFrame(sendTimeoutMicroseconds);
    }
    m_log.post(lost);
    m_log.post(dropped);
}

void ChannelAsRouter::serve()
{
    if (!m_lines.isCalled())
        return;
    bool isServed = false;
    if (tryLockFrame()) {
        LogEvent dropped;
        isServed = serveFrame(&dropped);
        mutexUnlock(m_frameMutex);
        m_log.post(dropped);
    }
    if (!isServed)
        wakeWorker();
}

/// Locks m_frameMutex unless another thread holds it or wants it with priority.
bool ChannelAsRouter::tryLockFrame() UNCHECKED_LOCKING
{
    return m_frameLocksWanted == 0 && mutexTryLock(m_frameMutex) == Succeeded;
}

/// Handles one block of lines in place of the worker. Returns false if the worker must wake up for what is
/// left: a second frame, a frame for which the socket is not ready, newer lines, a backlog, a stop.
bool ChannelAsRouter::serveFrame(LogEvent *dropped)
{
    using Service = LineMonitor::Service;
    if (!m_block.isRead() || m_frame.isComplete())
        return false;
    const Service service = m_lines.beginService(&m_block);
    if (service != Service::Granted)
        return service == Service::NotNeeded;
    *dropped = assembleFrame(0);
    if (!m_block.isRead() || m_frame.isComplete()) {
        m_lines.abandonService();
        return false;
    }
    return m_lines.endService(m_frame.nextCompletion());
}

/// Reads lines of m_block up to the end of a frame and sends the frame. A frame that cannot be sent is lost,
/// except that with a time-out of 0 it stays complete if the socket is not ready. Returns the event to log
/// for a lost frame, or nothing.
ChannelAsRouter::LogEvent ChannelAsRouter::assembleFrame(uint32_t timeoutMicroseconds)
{
    RouterLine line;
    while (!m_frame.isComplete() && m_block.read(&line))
        m_frame.add(line);
    if (m_block.isRead())
        m_block.clear();
    if (!m_frame.isComplete())
        return {};
    const LogEvent dropped = sendFrame(timeoutMicroseconds);
    if (dropped == RouterLog::SendTimedOut && timeoutMicroseconds == 0)
        return {};
    m_frame.resetFrame();
    return dropped;
}

bool ChannelAsRouter::dropFrameWithPriority()
{
    const MutexGuard lock(m_frameMutex, &m_frameLocksWanted);
    return dropFrame();
}

/// Returns whether the frame had any text.
bool ChannelAsRouter::dropFrame()
{
    // Lines that a sleeping worker has left in the queue belong to the frame being dropped. None of them
    // completes a frame, because none has met the wake condition.
    if (m_lines.takeLinesOfSleepingWorker(&m_block)) {
        RouterLine line;
        while (m_block.read(&line))
            m_frame.add(line);
    }
    const bool dropped = m_frame.hasText();
    m_frame.resetFrame();
    return dropped;
}

void ChannelAsRouter::logDestination()
{
    const UdpDestination to = destination();
    if (m_routerRunning)
        m_log.logChange(
            QString::fromLatin1("the destination is now %1 port %2").arg(dotted(to.address)).arg(to.port));
}

void ChannelAsRouter::logDivisor()
{
    if (m_routerRunning)
        m_log.logChange(QString::fromLatin1("the divisor is now %1").arg(dataDivisor()));
}

/// Sends the complete frame if it is sendable and the router runs. Returns the event to log if the frame
/// cannot be sent, otherwise nothing.
ChannelAsRouter::LogEvent ChannelAsRouter::sendFrame(uint32_t timeoutMicroseconds)
{
    if (!m_frame.hasNumber())
        return RouterLog::FrameWithoutNumber;
    if (m_frame.isOversized())
        return RouterLog::FrameTooLong;
    if (!m_frame.isSendable(dataDivisor()))
        return {};
    const UdpDestination to = destination();
    if (!m_socketHandle)
        return RouterLog::FrameWithoutSocket;
    if (to.address == 0)
        return RouterLog::WithoutAddress;
    if (!m_routerRunning) // the frame belongs to a run that has been stopped
        return {};
    const QByteArray &text = m_frame.text();
    switch (
        udpSend(m_socketHandle, text.constData(), text.size(), to.address, to.port, timeoutMicroseconds)) {
    case UdpSucceeded:
        return {};
    case UdpTimedOut:
        return RouterLog::SendTimedOut;
    default:
        return RouterLog::SendFailed;
    }
}
