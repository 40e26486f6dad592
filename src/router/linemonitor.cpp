#include "linemonitor.h"

#include "mutexguard.h"
#include "platformthreads.h"

#include <algorithm>
#include <utility>

namespace networksettings2g {

namespace {

constexpr uint32_t waitMilliseconds = 100;
constexpr uint32_t pollMilliseconds = 10; // after the wait has failed

} // namespace

LineMonitor::LineMonitor(std::function<bool()> isRunWanted)
    : m_isRunWanted(std::move(isRunWanted))
{
    mutexCreate(&m_mutex);
    condCreate(&m_condition);
}

LineMonitor::~LineMonitor()
{
    if (m_condition)
        condDestroy(m_condition);
    if (m_mutex)
        mutexDestroy(m_mutex);
}

std::size_t LineMonitor::append(const RouterLine &line)
{
    const MutexGuard guard(m_mutex);
    m_queue.append(line);
    if (m_state == Asleep && (m_wakeCondition.isMet(line, m_queue.lineCount()) || m_queue.hasBacklog()))
        m_state = Called;
    if (m_state != Called)
        return 0;
    return std::max<std::size_t>(1, m_queue.newestBytes()); // a line that is too long for the queue leaves 0
}

void LineMonitor::wakeWorker()
{
    condSignal(m_condition);
}

void LineMonitor::interruptWorker()
{
    const MutexGuard guard(m_mutex);
    if (m_state != Awake)
        wakeWorker();
}

void LineMonitor::announceThread()
{
    const MutexGuard guard(m_mutex);
    ++m_announcedThreads;
}

bool LineMonitor::withdrawThread()
{
    const MutexGuard guard(m_mutex);
    --m_announcedThreads;
    return m_hasWorker || m_announcedThreads > 0;
}

bool LineMonitor::tryBecomeWorker()
{
    const MutexGuard guard(m_mutex);
    --m_announcedThreads;
    return !std::exchange(m_hasWorker, true);
}

bool LineMonitor::tryStopWorker()
{
    const MutexGuard guard(m_mutex);
    m_hasWorker = m_isRunWanted();
    return !m_hasWorker;
}

void LineMonitor::waitForLines(WakeCondition next)
{
    const MutexGuard guard(m_mutex);
    // interruptWorker() locks the mutex too: if it has run before this, m_isRunWanted() is false; if it runs
    // later, it finds the worker asleep and signals.
    if (m_queue.lineCount() > 0 || !m_isRunWanted())
        return;
    if (m_waitFailed) {
        pause();
        return;
    }
    m_wakeCondition = std::move(next);
    m_state = Asleep;
    if (condTimedWait(m_condition, m_mutex, waitMilliseconds) == PlatformFailed)
        recoverMutex();
    m_state = Awake;
}

/// Releases the mutex for a moment.
void LineMonitor::pause()
{
    mutexUnlock(m_mutex);
    threadSleep(pollMilliseconds);
    mutexLock(m_mutex);
}

/// Makes sure that the mutex is held exactly once, which is unknown after a failed wait. The condition is
/// unusable from now on: another wait, or a signal, could block forever. In state Awake no thread signals,
/// except once a server that is serving now, or a delivering thread that has called append() before.
void LineMonitor::recoverMutex()
{
    mutexLock(m_mutex);
    m_waitFailed = true;
    m_state = Awake;
    while (mutexUnlock(m_mutex) == Succeeded) {
    }
    mutexLock(m_mutex);
}

LineMonitor::Taken LineMonitor::take(LineBlock *block)
{
    const MutexGuard guard(m_mutex);
    if (!m_queue.take(block))
        return Taken::Nothing;
    return m_queue.takeLinesLostFlag() ? Taken::LinesAfterGap : Taken::Lines;
}

bool LineMonitor::takeLinesOfSleepingWorker(LineBlock *block)
{
    const MutexGuard guard(m_mutex);
    if (m_state != Asleep)
        return false;
    m_wakeCondition = WakeCondition(); // the condition was made for the old frame: wake at the next line
    return m_queue.take(block);
}

LineMonitor::Service LineMonitor::beginService(LineBlock *block)
{
    const MutexGuard guard(m_mutex);
    if (m_state != Called)
        return Service::NotNeeded;
    if (m_queue.hasBacklog() || !m_isRunWanted())
        return Service::Refused;
    m_queue.take(block);
    m_state = Served;
    return Service::Granted;
}

bool LineMonitor::endService(WakeCondition next)
{
    const MutexGuard guard(m_mutex);
    if (m_state != Served)
        return true; // the worker has woken up and handles the lines that have arrived since
    const bool isEmpty = m_queue.lineCount() == 0;
    m_wakeCondition = std::move(next);
    m_state = isEmpty ? Asleep : Called;
    return isEmpty;
}

void LineMonitor::abandonService()
{
    const MutexGuard guard(m_mutex);
    if (m_state == Served)
        m_state = Called;
}

} // namespace networksettings2g
