#pragma once

#include "linequeue.h"
#include "threadannotations.h"
#include "wakecondition.h"

#include <atomic>
#include <functional>

struct Condition;
struct CAPABILITY("mutex") Mutex;

namespace networksettings2g {

/// The monitor between the threads that deliver a channel's lines and those that handle them. It holds the
/// queue, the sleep of the channel's worker and the right to be that worker; no other class names its mutex.
///
/// A worker that is awake serves channels whose workers sleep: a server. Handling lines needs the channel's
/// frame mutex, so at most one thread does it at a time.
///
/// | State  | The worker       | Ends with |
/// |--------|------------------|-----------|
/// | Awake  | runs, or is none | waitForLines(): Asleep |
/// | Asleep | sleeps           | a line that meets the wake condition: Called; wake-up or time-out: Awake |
/// | Called | sleeps           | beginService(): Served; wake-up or time-out: Awake |
/// | Served | sleeps           | the server is done: Asleep; it leaves the rest: Called; time-out: Awake |
///
/// Thread safety: any thread may call any function, unless a function names the worker or a server.
///
/// Invariants:
/// 1. Only the worker enters Asleep, and only the worker leaves for Awake, after each sleep. So a lost or a
/// late
///    signal costs one time-out at most, and a needless signal nothing but a look at the queue.
/// 2. In state Called somebody is about to look at this channel: append() returns true for each further line,
/// so
///    that a delivering thread that was preempted before its signal does not hold up the frame.
/// 3. In state Asleep no lines were lost before those in the queue: losing lines calls the channel.
/// 4. At most one thread is the worker. Becoming and ceasing to be the worker exclude each other, so a thread
/// that
///    fails to become the worker knows that the present one has yet to ask whether the run is still wanted.
class LineMonitor
{
public:
    /// \a isRunWanted tells whether the worker should go on. It is called with the mutex held.
    explicit LineMonitor(std::function<bool()> isRunWanted);

    /// No thread may use the monitor any more.
    ~LineMonitor();
    LineMonitor(const LineMonitor &) = delete;
    LineMonitor &operator=(const LineMonitor &) = delete;

    /// False if the locks could not be made; then no other function may be called.
    bool isUsable() const { return m_mutex && m_runMutex && m_condition; }

    /// Queues a copy of \a line. Returns whether the channel is called after it: then the caller must make
    /// some worker look at the channel, by wakeWorker() of this or of a channel that is called later.
    bool append(const RouterLine &line);

    /// Wakes the worker if it sleeps. Not called with the mutex held, which the worker would block on at
    /// once.
    void wakeWorker();

    /// Makes a sleeping worker look whether its run is still wanted. Call after the answer has changed.
    void interruptWorker();

    /// Makes the calling thread the worker. False if another thread is.
    bool tryBecomeWorker() UNCHECKED_LOCKING;

    /// Ends the run of the worker, which is the caller, unless it is wanted. True if it has ended.
    bool tryStopWorker() UNCHECKED_LOCKING;

    bool hasWorker() UNCHECKED_LOCKING;

    /// Worker: sleeps until a line meets \a next, or for 100 ms. Returns at once if lines are queued.
    void waitForLines(WakeCondition next);

    enum class Taken
    {
        Nothing,
        Lines,
        LinesAfterGap ///< lines were dropped before these
    };

    /// Worker: takes the oldest lines.
    Taken take(LineBlock *block);

    /// Takes the lines of a worker that sleeps and has not been called, which will be called at the next
    /// line. Returns false if the worker is awake or called, or has no lines.
    bool takeLinesOfSleepingWorker(LineBlock *block);

    /// A hint without the mutex, for servers that look for work.
    bool isCalled() const { return m_state.load(std::memory_order_relaxed) == Called; }

    enum class Service
    {
        Granted,   ///< the block holds lines to handle
        NotNeeded, ///< the channel's worker, or another server, handles them
        Refused    ///< the worker must handle them: wake it
    };

    /// Server: takes the lines of a called channel.
    Service beginService(LineBlock *block);

    /// Server: all lines have been handled. Takes those that have arrived since, or lets the worker sleep on
    /// until a line meets \a next.
    Service continueService(WakeCondition next, LineBlock *block);

    /// Server: the worker must go on with what is left.
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
    Mutex *m_runMutex = nullptr; // held by the worker for its whole life
    const std::function<bool()> m_isRunWanted;
};

} // namespace networksettings2g
