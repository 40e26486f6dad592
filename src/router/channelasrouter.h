#pragma once

#include "channel.h"
#include "frameassembler.h"
#include "linequeue.h"
#include "routerlog.h"
#include "wakerule.h"

#include <optional>

struct Condition;
struct Mutex;
struct SocketHandle;

/// A channel that can forward the tracking data itself: lines of its ticked types queue up, and a worker
/// thread of its own joins them into frames and sends each frame as one UDP datagram to the channel's
/// destination.
///
/// Failures stay silent: nothing of the forwarding is reported to the user, only to RouterLog. A channel
/// whose locks could not be made never routes.
class ChannelAsRouter : public Channel
{
    Q_OBJECT

public:
    ChannelAsRouter(IOManager *ioManager, int channelIndex, BackendVersions *versions);

    /// Returns when every thread that the channel ever started has ended. No data thread may hold the
    /// channel.
    ~ChannelAsRouter() override;

    /// Queues a copy of \a line, whose type the channel ticks, if the channel routes. Any thread; waits for
    /// nothing but a lock that is held for a few instructions.
    void enqueue(const RouterLine &line);

    /// Drops the frame that is being assembled. Any thread; waits while the worker sends, at most 100 ms.
    void resetFrame();

    /// The life of a worker: returns when the router is to stop, or at once if another worker runs.
    void runWorker();

public slots:
    /// Starts forwarding if \a active and the channel is active, otherwise stops it; either way the frame
    /// that is being assembled is dropped. GUI thread. A start may block for a name look-up, a stop takes 10
    /// ms; both wait while the worker sends.
    void updateRouterActiveState(bool active);

private:
    class FrameTurn;

    bool hasLocks() const { return m_frameMutex && m_queueMutex && m_runMutex && m_queueCondition; }
    bool isRunWanted() const { return m_workerRun && m_routerRunning && isActive(); }
    void startRouter();
    void stopRouter();
    void openSocket();
    void dropFrameAndLetWorkerRun();
    void startThread();
    bool stopWithoutWorker();
    bool queueLine(const RouterLine &line);
    bool claimRun();
    bool leaveRun();
    void handleLines();
    void waitForLines();
    void sleepUntilWoken();
    void wakeWorker();
    bool takeLines();
    std::optional<RouterLog::Event> assembleFrame();
    bool takeLinesLeftLying();
    void dropFrame();
    std::optional<RouterLog::Event> sendFrame();

    // A line of data touches the first group, the worker the second. Each has cache lines of its own, so that
    // the two sides do not slow each other, and as few of them as possible, since they are cold at each
    // frame.
    static constexpr std::size_t CacheLineBytes = 64;

    alignas(CacheLineBytes) std::atomic<bool> m_routerRunning{false}; // lines are queued and handled
    std::atomic<bool> m_workerRun{false};                             // the worker may go on
    bool m_workerWaits = false;            // and has not been signalled; under m_queueMutex
    bool m_waitFailed = false;             // m_queueCondition is broken; under m_queueMutex
    Mutex *m_queueMutex = nullptr;         // also guards claiming and leaving the run
    Condition *m_queueCondition = nullptr; // signalled at a line that m_wakeRule tells
    WakeRule m_wakeRule;                   // of the waiting worker; under m_queueMutex
    LineQueue m_lineQueue;                 // under m_queueMutex

    alignas(CacheLineBytes) Mutex *m_frameMutex = nullptr; // held through a send
    std::atomic<int> m_frameTurnsWanted{0};                // threads that wait for it beside the worker
    Mutex *m_runMutex = nullptr;                           // held by the worker for its whole life
    SocketHandle *m_socketHandle = nullptr;                // written by the GUI thread; under m_frameMutex
    LineBlock m_block;      // taken by the worker, or by another in its place; under m_frameMutex
    FrameAssembler m_frame; // under m_frameMutex
    RouterLog m_log;
};
