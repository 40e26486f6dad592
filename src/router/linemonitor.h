#pragma once

#include "linequeue.h"
#include "threadannotations.h"
#include "wakecondition.h"

#include <atomic>
#include <functional>

struct Condition;
struct CAPABILITY("mutex") Mutex;

namespace networksettings2g {

/// A monitor (a class whose functions lock its own mutex) between the threads that deliver a channel's lines
/// and those that handle them. It contains the queue, lets the channel's worker sleep, and decides which
/// thread is that worker.
///
/// A worker that is awake also handles the lines of channels whose workers sleep; it is then their server. A
/// thread that handles lines holds the channel's frame mutex, so at most one thread does so at a time.
///
/// | State  | The worker             | Next states                                                         |
/// |--------|------------------------|---------------------------------------------------------------------|
/// | Awake  | runs or does not exist | Asleep in waitForLines()                                            |
/// | Asleep | sleeps                 | Called at a line that meets the wake condition or causes a backlog; |
/// |        |                        | Awake at a signal or a time-out                                     |
/// | Called | sleeps                 | Served in beginService(); Awake at a signal or a time-out           |
/// | Served | sleeps                 | Asleep when the server has handled all lines; Called if it leaves   |
/// |        |                        | some to the worker; Awake at a signal or a time-out                 |
///
/// Thread safety: any thread may call any function, except that functions marked "Worker:" or "Server:" may
/// be called by that thread only.
///
/// Invariants:
/// 1. Only the worker leaves Awake, and only the worker returns to it, after each sleep. So a lost or a late
///    signal costs one time-out at most, and a needless signal only makes the worker check the queue.
/// 2. In state Called a thread has signalled, or is about to signal or to serve the channel. append() also
///    returns true for each further line, so if a delivering thread is preempted before its signal, the next
///    line from another thread wakes the worker.
/// 3. In state Asleep no lines were lost before those in the queue: losing lines leads to Called.
/// 4. Unless the platform fails, at most one thread is the worker. Becoming and ceasing to be the worker
///    exclude each other, because both lock m_mutex. So if a thread fails to become the worker, the current
///    worker has yet to check whether the run is still wanted.
class LineMonitor
{
public:
    /// \a isRunWanted returns whether the worker should continue. It is called with the mutex held.
    explicit LineMonitor(std::function<bool()> isRunWanted);

    /// No other thread may use the monitor any more.
    ~LineMonitor();
    LineMonitor(const LineMonitor &) = delete;
    LineMonitor &operator=(const LineMonitor &) = delete;

    /// Returns false if the locks could not be created; then only isCalled() and the destructor may be
    /// called.
    bool isUsable() const { return m_mutex && m_runMutex && m_condition; }

    /// Queues a copy of \a line. Returns whether the state is Called afterwards. The caller must then call
    /// wakeWorker() of this channel, or of a channel whose append() returns true later and whose worker
    /// serves this one.
    bool append(const RouterLine &line);

    /// Wakes the worker if it sleeps. Does not lock the mutex, because the woken worker would block on it at
    /// once.
    void wakeWorker();

    /// Wakes a sleeping worker so that it checks isRunWanted(). Must be called after its result has changed
    /// to false.
    void interruptWorker();

    /// Makes the calling thread the worker. Returns false if another thread is the worker. Returns true also
    /// if the platform fails to tell, so that the channel forwards nevertheless.
    bool tryBecomeWorker() UNCHECKED_LOCKING;

    /// Worker: ceases to be the worker, unless the run is still wanted. Returns whether it has ceased.
    bool tryStopWorker() UNCHECKED_LOCKING;

    /// Returns whether another thread is the worker.
    bool hasWorker() UNCHECKED_LOCKING;

    /// Worker: sleeps until a signal comes or 100 ms have passed. Meanwhile a line that meets \a next, or a
    /// backlog, leads to Called. Returns at once if lines are queued or the run is not wanted.
    void waitForLines(WakeCondition next);

    enum class Taken
    {
        Nothing,
        Lines,
        LinesAfterGap ///< lines were dropped before these
    };

    /// Worker: takes the oldest lines.
    Taken take(LineBlock *block);

    /// In state Asleep, lets the next line lead to Called and takes the oldest lines; returns false if the
    /// queue is empty. In any other state changes nothing and returns false.
    bool takeLinesOfSleepingWorker(LineBlock *block);

    /// Returns whether the state is Called. Only a hint, because it does not lock the mutex.
    bool isCalled() const { return m_state.load(std::memory_order_relaxed) == Called; }

    enum class Service
    {
        Granted,   ///< the block holds lines to handle
        NotNeeded, ///< no lines are left, or another thread handles them
        Refused    ///< the worker must handle them: wake it
    };

    /// Server: takes the lines of a called channel.
    Service beginService(LineBlock *block);

    /// Server: called when all lines of \a block have been handled. Takes the lines that have arrived since;
    /// if there are none, lets the worker sleep until a line meets \a next.
    Service continueService(WakeCondition next, LineBlock *block);

    /// Server: leaves the remaining lines to the worker, which the caller must wake.
    void abandonService();

private:
    enum State
    {
        Awake,
        Asleep,
        Called,
        Served
    };

    Service takeToServe(LineBlock *block) REQUIRES(m_mutex);
    void sleep() REQUIRES(m_mutex) UNCHECKED_LOCKING;

    Mutex *m_mutex = nullptr;
    Condition *m_condition = nullptr;
    std::atomic<State> m_state{Awake}; // written with m_mutex held
    bool m_waitFailed GUARDED_BY(m_mutex) = false;
    WakeCondition m_wakeCondition GUARDED_BY(m_mutex); // of the sleeping worker
    LineQueue m_queue GUARDED_BY(m_mutex);
    Mutex *m_runMutex = nullptr; // held by the worker as long as it is the worker
    const std::function<bool()> m_isRunWanted;
};

} // namespace networksettings2g
