#include "channelasrouter.h"

#include "mutexguard.h"
#include "udp.h"

// Locks: m_runMutex comes before the other two; m_queueMutex and m_frameMutex are never held together.
// Whoever holds m_queueMutex may try m_runMutex, since trying never waits.

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
{
    mutexCreate(&m_frameMutex);
    mutexCreate(&m_queueMutex);
    mutexCreate(&m_runMutex);
    condCreate(&m_queueCondition);
}

ChannelAsRouter::~ChannelAsRouter()
{
    if (hasLocks()) {
        const MutexGuard queue(m_queueMutex);
        m_workerRun = false;
        condSignal(m_queueCondition);
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

void ChannelAsRouter::enqueue(const char *type, const char *line)
{
    if (!isActive() || !m_routerRunning || destination().address == 0 || !isTypeWanted(type))
        return;
    RouterLine copy{type, line};
    const MutexGuard queue(m_queueMutex);
    m_lineQueue.append(std::move(copy));
    condSignal(m_queueCondition);
}

void ChannelAsRouter::resetFrame()
{
    if (!hasLocks())
        return;
    const MutexGuard frame(m_frameMutex);
    m_frame.resetFrame();
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
    m_routerRunning = true;
    openSocket();
    setHost(host()); // repeats a look-up that failed; not under a lock that a data thread takes
    dropFrameAndLetWorkerRun();
    startThread();
}

void ChannelAsRouter::stopRouter()
{
    {
        const MutexGuard queue(m_queueMutex);
        m_routerRunning = false;
        m_workerRun = false;
        condSignal(m_queueCondition);
    }
    threadSleep(stopMilliseconds);
    resetFrame();
}

void ChannelAsRouter::dropFrameAndLetWorkerRun()
{
    // In one step, and before the new thread starts: an old worker with a line in hand either adds it before
    // and it is dropped, or sees that it is to go on. Nothing is taken from a frame that the new worker has
    // begun.
    const MutexGuard frame(m_frameMutex);
    m_frame.resetFrame();
    m_workerRun = true;
}

void ChannelAsRouter::openSocket()
{
    SocketHandle *handle = nullptr;
    // Only this thread writes the field, so it may look without the lock. A failure is tried again at the
    // next start.
    if (m_socketHandle || udpOpen(&handle, 0, UdpAnyPort) != 0)
        return;
    const MutexGuard frame(m_frameMutex);
    m_socketHandle = handle;
}

void ChannelAsRouter::startThread()
{
    if (threadStart(workerEntry, this) == 0)
        return;
    const MutexGuard queue(m_queueMutex);
    const bool workerRuns = mutexTryLock(m_runMutex) == 1;
    if (workerRuns)
        return;
    mutexUnlock(m_runMutex);
    m_routerRunning = false;
    m_workerRun = false;
}

void ChannelAsRouter::runWorker()
{
    if (!claimRun())
        return;
    while (!leaveRun())
        handleNextLine();
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

void ChannelAsRouter::handleNextLine()
{
    RouterLine line;
    bool gap = false;
    if (!takeLine(&line, &gap))
        return;
    const MutexGuard frame(m_frameMutex);
    if (gap)
        m_frame.startAfterGap();
    if (!m_frame.add(line))
        return;
    sendFrame();
    resetFrame();
}

bool ChannelAsRouter::takeLine(RouterLine *line, bool *gap)
{
    const MutexGuard queue(m_queueMutex);
    // A stop wakes the worker under the lock: if it came before this, there is nothing to wait for.
    if (m_lineQueue.isEmpty() && isRunWanted())
        waitForLine();
    if (!m_lineQueue.take(line))
        return false;
    *gap = m_lineQueue.takeGap();
    return true;
}

void ChannelAsRouter::waitForLine()
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

void ChannelAsRouter::sendFrame()
{
    const UdpDestination to = destination();
    if (!m_socketHandle || to.address == 0 || !m_frame.isSendable(dataDivisor()))
        return;
    const QByteArray &text = m_frame.text();
    // A frame that does not get out is lost; forwarding stays silent.
    udpSend(m_socketHandle, text.constData(), text.size(), to.address, to.port, sendTimeoutMicroseconds);
}
