#pragma once

#include "channel.h"
#include "frameassembler.h"
#include "linequeue.h"

struct Condition;
struct Mutex;
struct SocketHandle;

/// A channel that can forward the tracking data itself: lines of its ticked types queue up, and a worker
/// thread of its own joins them into frames and sends each frame as one UDP datagram to the channel's
/// destination.
///
/// Failures stay silent: nothing of the forwarding is reported to the user. A channel whose locks could not
/// be made never routes.
class ChannelAsRouter : public Channel
{
    Q_OBJECT

public:
    ChannelAsRouter(IOManager *ioManager, int channelIndex, BackendVersions *versions);

    /// Returns when every thread that the channel ever started has ended. No data thread may hold the
    /// channel.
    ~ChannelAsRouter() override;

    /// Queues a copy of \a line if the channel routes and wants \a type. Any thread; waits for nothing but a
    /// lock that is held for a few instructions.
    void enqueue(const char *type, const char *line);

    /// Drops the frame that is being assembled. Any thread; waits while the worker sends, at most 100 ms.
    void resetFrame();

    /// The life of a worker: returns when the router is to stop, or at once if another worker runs.
    void runWorker();

public slots:
    /// Starts forwarding if \a active and the channel is active, otherwise stops it; either way the frame
    /// that is being assembled is dropped. GUI thread. A start may block for a name look-up, a stop takes 10
    /// ms.
    void updateRouterActiveState(bool active);

private:
    bool hasLocks() const { return m_frameMutex && m_queueMutex && m_runMutex && m_queueCondition; }
    bool isRunWanted() const { return m_workerRun && m_routerRunning && isActive(); }
    void startRouter();
    void stopRouter();
    void openSocket();
    void dropFrameAndLetWorkerRun();
    void startThread();
    bool claimRun();
    bool leaveRun();
    void handleNextLine();
    bool takeLine(RouterLine *line, bool *gap);
    void waitForLine();
    void sendFrame();

    std::atomic<bool> m_routerRunning{false}; // lines are queued and handled
    std::atomic<bool> m_workerRun{false};     // the worker may go on
    SocketHandle *m_socketHandle = nullptr;   // written by the GUI thread; under m_frameMutex
    Mutex *m_frameMutex = nullptr;            // guards m_frame; held through a send
    Mutex *m_queueMutex = nullptr;            // guards m_lineQueue, and claiming and leaving the run
    Mutex *m_runMutex = nullptr;              // held by the worker for its whole life
    Condition *m_queueCondition = nullptr;    // signalled at every queued line
    bool m_waitFailed = false;                // m_queueCondition is broken; under m_queueMutex
    LineQueue m_lineQueue;
    FrameAssembler m_frame;
};
