#pragma once

#include "linequeue.h"
#include "threadannotations.h"
#include "wakecondition.h"

#include <atomic>
#include <functional>

struct Condition;
struct CAPABILITY("mutex") Mutex;

namespace networksettings2g {

/// A monitor (C. A. R. Hoare, 1974: a class whose functions lock its own mutex) between the threads that
/// deliver a channel's lines and those that handle them. It contains the queue, lets the channel's worker
/// sleep, and decides which thread is that worker.
///
/// A worker that is awake also handles the lines of channels whose workers sleep, as their server. A thread
/// that handles lines holds the channel's frame mutex, so at most one thread does so at a time.
///
/// | State  | The worker             | Next states                                                         |
/// |--------|------------------------|---------------------------------------------------------------------|
/// | Awake  | runs or does not exist | Asleep in waitForLines()                                            |
/// | Asleep | sleeps                 | Called at a line that meets the wake condition or causes a backlog; |
/// |        |                        | Awake when the sleep ends                                           |
/// | Called | sleeps                 | Served in beginService(); Awake when the sleep ends                 |
/// | Served | sleeps                 | Asleep when the server has handled all lines; Called if it leaves   |
/// |        |                        | a rest, or newer lines, to the worker; Awake when the sleep ends    |
///
/// A sleep ends at a signal or after 100 ms. Note: if the platform's wait fails, the worker no longer sleeps
/// but polls the queue every 10 ms, in state Awake.
///
/// Thread safety: any thread may call any function, except that only the worker may call those marked
/// "Worker:", and only a server those marked "Server:".
///
/// Invariants:
/// 1. Only the worker leaves Awake, and only the worker returns to it, after each sleep. So a lost or a late
///    signal costs one time-out at most, and a needless signal only makes the worker check the queue.
/// 2. In state Called, a thread has signalled, or is about to signal, the worker or another worker that then
///    serves the channel. append() asks for a signal at each further line, too, so if a delivering thread
///    is preempted before its signal, the next line from another thread causes one.
/// 3. In state Asleep, all queued lines are in one block, and no lines were dropped before them: a second
///    block or a loss leads to Called.
/// 4. At most one thread is the worker. If a thread fails to become the worker, the current one has yet to
///    call tryStopWorker(), and then finds the run still wanted.
class LineMonitor
{
public:
    /// \a isRunWanted returns whether the worker should continue. The worker and servers call it with m_mutex
    /// held.
    explicit LineMonitor(std::function<bool()> isRunWanted);

    /// No other thread may use the monitor any more.
    ~LineMonitor();
    LineMonitor(const LineMonitor &) = delete;
    LineMonitor &operator=(const LineMonitor &) = delete;

    /// Returns false if a mutex or the condition could not be created; then only this function, isCalled()
    /// and the destructor may be called.
    bool isUsable() const { return m_mutex && m_condition; }

    /// Queues a copy of \a line; LineQueue::append() may drop older lines. Returns 0 if no worker needs to be
    /// woken. Otherwise the state is Called, and the result is the number of bytes that the newest block of
    /// lines takes, at least 1: the caller must call wakeWorker() of this monitor, or of one that is called
    /// later and whose worker serves this channel.
    std::size_t append(const RouterLine &line) EXCLUDES(m_mutex);

    /// Wakes the worker if it sleeps. Does not lock m_mutex, because the woken worker would block on it at
    /// once.
    void wakeWorker();

    /// Wakes a sleeping worker so that it calls isRunWanted(). Must be called after the result of that
    /// function has changed to false; otherwise the worker notices the change only when it next wakes.
    void interruptWorker() EXCLUDES(m_mutex);

    /// Announces a thread that will call tryBecomeWorker(). Must be called before the thread is started.
    void announceThread() EXCLUDES(m_mutex);

    /// Withdraws an announcement, because the thread could not be started. Returns whether another thread is
    /// the worker, or has been announced and will become the worker.
    bool withdrawThread() EXCLUDES(m_mutex);

    /// Makes the calling thread, which has been announced, the worker. Returns false if another thread is the
    /// worker.
    bool tryBecomeWorker() EXCLUDES(m_mutex);

    /// Worker: ceases to be the worker, unless the run is still wanted. Returns whether it has ceased.
    bool tryStopWorker() EXCLUDES(m_mutex);

    /// Worker: sleeps until a signal comes or 100 ms have passed. During the sleep, a backlog, or a line
    /// that meets \a next, leads to Called. Returns at once if lines are queued or the run is not wanted.
    void waitForLines(WakeCondition next) EXCLUDES(m_mutex);

    enum class Taken
    {
        Nothing,
        Lines,
        LinesAfterGap ///< lines were dropped before these
    };

    /// Worker: takes the oldest block of lines. Here and below, all lines of \a block must have been read
    /// before the call, and \a block is unchanged if no lines are taken.
    Taken take(LineBlock *block) EXCLUDES(m_mutex);

    /// In state Asleep, lets the next line lead to Called and takes all lines; returns false if the queue is
    /// empty. In any other state changes nothing and returns false.
    bool takeLinesOfSleepingWorker(LineBlock *block) EXCLUDES(m_mutex);

    /// Returns whether the state is Called. Only a hint, because it does not lock the mutex.
    bool isCalled() const { return m_state.load(std::memory_order_relaxed) == Called; }

    enum class Service
    {
        Granted,   ///< the server must handle the lines of the block
        NotNeeded, ///< no line needs to be handled yet, or the worker is awake and handles the lines
        Refused    ///< the worker must handle the lines, and the caller must wake it
    };

    /// Server: takes the lines if the state is Called. Refuses on a backlog or if the run is not wanted.
    Service beginService(LineBlock *block) EXCLUDES(m_mutex);

    /// Server: ends a granted service, in which all lines have been handled, and leaves the worker asleep
    /// until a line meets \a next. Returns false if lines have arrived since; the caller must then wake the
    /// worker.
    bool endService(WakeCondition next) EXCLUDES(m_mutex);

    /// Server: ends a granted service and leaves the rest to the worker, which the caller must wake.
    void abandonService() EXCLUDES(m_mutex);

private:
    enum State
    {
        Awake,
        Asleep,
        Called,
        Served
    };

    void pause() REQUIRES(m_mutex) UNCHECKED_LOCKING;
    void recoverMutex() REQUIRES(m_mutex) UNCHECKED_LOCKING;

    Mutex *m_mutex = nullptr;
    Condition *m_condition = nullptr;
    std::atomic<State> m_state{Awake}; // written with m_mutex held
    bool m_waitFailed GUARDED_BY(m_mutex) = false;
    WakeCondition m_wakeCondition GUARDED_BY(m_mutex); // of the sleeping worker
    LineQueue m_queue GUARDED_BY(m_mutex);
    bool m_hasWorker GUARDED_BY(m_mutex) = false;
    int m_announcedThreads GUARDED_BY(m_mutex) = 0; // threads that have not called tryBecomeWorker() yet
    const std::function<bool()> m_isRunWanted;
};

} // namespace networksettings2g
