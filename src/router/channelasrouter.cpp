#include "channelasrouter.h"

#include "mutexguard.h"
#include "udp.h"

#include <utility>

// Locks: m_runMutex comes before m_frameMutex, m_frameMutex before m_queueMutex. Whoever holds m_queueMutex
// may try m_runMutex, since trying never waits.

namespace {

constexpr uint32_t waitMilliseconds = 100;
constexpr uint32_t stopMilliseconds = 10;
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
    , m_log(channelIndex + 1)
{
    mutexCreate(&m_frameMutex);
    mutexCreate(&m_queueMutex);
    mutexCreate(&m_runMutex);
    condCreate(&m_queueCondition);
    if (!hasLocks())
        m_log.tell(RouterLog::LocksRefused);
}

ChannelAsRouter::~ChannelAsRouter()
{
    if (hasLocks()) {
        const MutexGuard queue(m_queueMutex);
        m_workerRun = false;
        wakeWorker();
    }
    threadAwait(this);
    if (m_socketHandle)
        udpClose(m_socketHandle);
    if (m_queueCondition)
        condDestroy(m_queueCondition);
    for (Mutex *mutex : {m_queueMutex, m_frameMutex, m_runMutex}) {
        if (mutex)
            mutexDestroy(mutex);
    }
}

void ChannelAsRouter::enqueue(const RouterLine &line)
{
    if (!isActive() || !m_routerRunning || destination().address == 0)
        return;
    // Behind the lock, so that the woken worker does not stop at it at once.
    if (queueLine(line))
        condSignal(m_queueCondition);
}

bool ChannelAsRouter::queueLine(const RouterLine &line)
{
    const MutexGuard queue(m_queueMutex);
    m_lineQueue.append(line);
    if (!m_workerWaits || !(m_wakeRule.isDue(line, m_lineQueue.lineCount()) || m_lineQueue.hasFullBlock()))
        return false;
    m_workerWaits = false;
    return true;
}

/// Holds m_frameMutex, ahead of the worker: that one would take the mutex again and again while it has frames
/// to send, and a mutex owes nobody a turn.
class ChannelAsRouter::FrameTurn
{
public:
    explicit FrameTurn(ChannelAsRouter *channel)
        : m_mutex(channel->m_frameMutex)
    {
        ++channel->m_frameTurnsWanted;
        mutexLock(m_mutex);
        --channel->m_frameTurnsWanted;
    }
    ~FrameTurn() { mutexUnlock(m_mutex); }
    FrameTurn(const FrameTurn &) = delete;
    FrameTurn &operator=(const FrameTurn &) = delete;

private:
    Mutex *m_mutex;
};

void ChannelAsRouter::resetFrame()
{
    if (!hasLocks())
        return;
    const FrameTurn turn(this);
    dropFrame();
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
    if (!m_routerRunning.exchange(true))
        m_log.tell(RouterLog::Started);
    openSocket();
    setHost(host()); // repeats a look-up that failed; not under a lock that a data thread takes
    dropFrameAndLetWorkerRun();
    startThread();
}

void ChannelAsRouter::stopRouter()
{
    bool ran = false;
    {
        const MutexGuard queue(m_queueMutex);
        ran = m_routerRunning.exchange(false);
        m_workerRun = false;
        wakeWorker();
    }
    threadSleep(stopMilliseconds);
    resetFrame();
    if (ran)
        m_log.tell(RouterLog::Stopped);
}

void ChannelAsRouter::dropFrameAndLetWorkerRun()
{
    // In one step, and before the new thread starts: an old worker with a line in hand either adds it before
    // and it is dropped, or sees that it is to go on. Nothing is taken from a frame that the new worker has
    // begun.
    const FrameTurn turn(this);
    dropFrame();
    m_workerRun = true;
}

void ChannelAsRouter::openSocket()
{
    // Only this thread writes the field, so it may look without the lock. A failure is tried again at the
    // next start.
    if (m_socketHandle)
        return;
    SocketHandle *handle = nullptr;
    if (udpOpen(&handle, 0, UdpAnyPort) != 0) {
        m_log.tell(RouterLog::SocketRefused);
        return;
    }
    const FrameTurn turn(this);
    m_socketHandle = handle;
}

void ChannelAsRouter::startThread()
{
    if (threadStart(workerEntry, this) != 0 && stopWithoutWorker())
        m_log.tell(RouterLog::ThreadRefused);
}

bool ChannelAsRouter::stopWithoutWorker()
{
    const MutexGuard queue(m_queueMutex);
    const bool workerRuns = mutexTryLock(m_runMutex) == 1;
    if (workerRuns)
        return false;
    mutexUnlock(m_runMutex);
    m_routerRunning = false;
    m_workerRun = false;
    return true;
}

void ChannelAsRouter::runWorker()
{
    if (!claimRun())
        return;
    while (!leaveRun()) {
        if (m_frameTurnsWanted > 0)
            threadSleep(1);
        waitForLines();
        handleLines(); // also of a worker that is to stop: what it has left in the queue belongs to its frame
    }
}

bool ChannelAsRouter::claimRun()
{
    {
        // Claiming and leaving exclude each other: where a claim fails, the other worker has its last look at
        // the flags still to come, and sees what this thread was started for.
        const MutexGuard queue(m_queueMutex);
        if (mutexTryLock(m_runMutex) != 0)
            return false;
    }
    const MutexGuard frame(m_frameMutex);
    m_frame.startRun();
    return true;
}

bool ChannelAsRouter::leaveRun()
{
    if (isRunWanted())
        return false;
    const MutexGuard queue(m_queueMutex);
    if (isRunWanted())
        return false;
    mutexUnlock(m_runMutex);
    return true;
}

void ChannelAsRouter::handleLines()
{
    bool linesLost = false;
    std::optional<RouterLog::Event> dropped;
    {
        const MutexGuard frame(m_frameMutex);
        if (m_block.isRead())
            linesLost = takeLines();
        dropped = assembleFrame();
        if (m_block.isRead())
            m_block.clear();
    }
    // Behind the lock: the host's message handler may take its time, or a lock that somebody holds who waits
    // for this one.
    if (linesLost)
        m_log.tell(RouterLog::LinesLost);
    if (dropped)
        m_log.tell(*dropped);
}

bool ChannelAsRouter::takeLines()
{
    bool gap = false;
    {
        const MutexGuard queue(m_queueMutex);
        gap = m_lineQueue.take(&m_block) && m_lineQueue.takeGap();
    }
    if (gap)
        m_frame.startAfterGap();
    return gap;
}

std::optional<RouterLog::Event> ChannelAsRouter::assembleFrame()
{
    RouterLine line;
    while (m_block.read(&line)) {
        if (!m_frame.add(line))
            continue;
        const std::optional<RouterLog::Event> dropped = sendFrame();
        m_frame.resetFrame();
        return dropped; // the router may be to stop
    }
    return {};
}

void ChannelAsRouter::waitForLines()
{
    WakeRule nextCompletion;
    {
        const MutexGuard frame(m_frameMutex);
        if (!m_block.isRead())
            return;
        nextCompletion = m_frame.nextCompletion();
    }
    const MutexGuard queue(m_queueMutex);
    // A stop wakes the worker under the lock: if it came before this, there is nothing to wait for.
    if (m_lineQueue.lineCount() > 0 || !isRunWanted())
        return;
    m_wakeRule = std::move(nextCompletion);
    m_workerWaits = !m_waitFailed;
    sleepUntilWoken();
    m_workerWaits = false;
}

void ChannelAsRouter::sleepUntilWoken()
{
    if (!m_waitFailed && condTimedWait(m_queueCondition, m_queueMutex, waitMilliseconds) != -1)
        return;
    // The condition is broken: another wait might stand at its gate for good, with the mutex held. Whether
    // this one has given the mutex back is unknown. Go on by looking at the queue from time to time, with the
    // mutex held once.
    m_waitFailed = true;
    while (mutexUnlock(m_queueMutex) == 0) {
    }
    threadSleep(stopMilliseconds);
    mutexLock(m_queueMutex);
}

void ChannelAsRouter::wakeWorker()
{
    if (std::exchange(m_workerWaits, false))
        condSignal(m_queueCondition);
}

void ChannelAsRouter::dropFrame()
{
    // What a waiting worker has left in the queue belongs to the frame, and is not enough to complete it.
    if (takeLinesLeftLying()) {
        RouterLine line;
        while (m_block.read(&line))
            m_frame.add(line);
    }
    m_frame.resetFrame();
}

bool ChannelAsRouter::takeLinesLeftLying()
{
    const MutexGuard queue(m_queueMutex);
    if (!m_workerWaits)
        return false;
    m_wakeRule = WakeRule(); // what the worker knew of its frame is out of date
    takeLines();
    return true;
}

std::optional<RouterLog::Event> ChannelAsRouter::sendFrame()
{
    if (!m_frame.hasNumber())
        return RouterLog::FrameWithoutNumber;
    if (m_frame.isOversized())
        return RouterLog::FrameTooLong;
    if (!m_frame.isSendable(dataDivisor()))
        return {};
    const auto to = destination();
    if (!m_socketHandle)
        return RouterLog::FrameWithoutSocket;
    if (to.address == 0)
        return RouterLog::FrameWithoutAddress;
    const QByteArray &text = m_frame.text();
    // A frame that does not get out is lost.
    switch (udpSend(m_socketHandle, text.constData(), text.size(), to.address, to.port,
                    sendTimeoutMicroseconds)) {
    case 0:
        return {};
    case -1:
        return RouterLog::SendTimedOut;
    default:
        return RouterLog::SendFailed;
    }
}
