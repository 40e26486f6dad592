#pragma once

#include "channel.h"
#include "frameassembler.h"
#include "linemonitor.h"
#include "routerlog.h"

#include <memory>
#include <optional>

struct SocketHandle;

namespace networksettings2g {
class ChannelFanOut;
}

/// A channel that can forward the tracking data itself: lines of its ticked types are queued, and a worker
/// thread of its own joins them into frames and sends each frame as one UDP datagram to the channel's
/// destination.
///
/// A worker that is awake also serves the called channels of the same fan-out (see LineMonitor), so that one
/// wake-up per frame can serve several channels. A server never waits: it tries the frame mutex, sends only
/// if the socket is ready, and leaves everything else (a backlog, lost lines, a socket that is not ready, a
/// thread that wants the frame mutex, a stop) to the channel's own worker, which it wakes. So a channel whose
/// receiver stalls delays no other channel.
///
/// Failures stay silent: nothing about forwarding is reported to the user, only to RouterLog. A channel whose
/// locks could not be made never routes.
///
/// Thread safety: enqueue(), wakeWorker(), serve() and resetFrame() may be called by any thread that keeps
/// the channel from being destroyed (see ChannelFanOut). Everything else belongs to the GUI thread.
///
/// Invariants:
/// 1. Lock order: the worker's run, m_frameMutex, the mutex of m_lines.
/// 2. Whoever holds m_frameMutex handles lines: the worker, a server, or a thread that drops the frame. It is
/// held
///    through a send, which the worker may wait for, at most 100 ms.
/// 3. A datagram is sent only while m_routerRunning is set. A stop clears it and then locks m_frameMutex, so
/// no
///    datagram leaves after the stop has returned.
/// 4. m_block holds unread lines, or m_frame is complete, only while a thread is handling lines or the worker
/// is
///    awake or called.
class ChannelAsRouter : public Channel
{
    Q_OBJECT

public:
    ChannelAsRouter(IOManager *ioManager, int channelIndex, BackendVersions *versions);

    /// Returns when every thread that the channel ever started has ended. No other thread may use the
    /// channel.
    ~ChannelAsRouter() override;

    /// Names the fan-out that delivers to this channel. GUI thread, before the first start.
    void setFanOut(std::shared_ptr<networksettings2g::ChannelFanOut> fanOut) { m_fanOut = std::move(fanOut); }

    /// Queues a copy of \a line, whose type the channel ticks, if the channel routes. Returns whether the
    /// channel is called after it: then wakeWorker() must follow, for this channel or for one of the same
    /// fan-out that is called later. Waits only for a lock that is held for a few instructions.
    bool enqueue(const networksettings2g::RouterLine &line);

    /// Wakes the worker, which serves all called channels of its fan-out and then its own.
    void wakeWorker() { m_lines.wakeWorker(); }

    /// Handles the lines of this channel, if it is called, on another channel's worker. Never waits.
    void serve();

    /// Drops the frame that is being assembled. Waits for a send in progress, at most 100 ms.
    void resetFrame();

    /// The life of a worker: returns when the router should stop, or at once if another worker runs.
    void runWorker();

public slots:
    /// Starts forwarding if \a active and the channel is active, otherwise stops it; in both cases the frame
    /// that is being assembled is dropped. A start may block for a name look-up, a stop takes 10 ms; both
    /// wait for a send in progress.
    void updateRouterActiveState(bool active);

private:
    class PriorityFrameLock;
    using LogEvent = std::optional<networksettings2g::RouterLog::Event>; // none: nothing to log

    bool hasLocks() const { return m_frameMutex && m_lines.isUsable(); }
    bool isRunWanted() const { return m_routerRunning && isActive(); }
    void startRouter();
    void stopRouter();
    void startThread();
    void waitForLines();
    void handleLines();
    bool tryServe() UNCHECKED_LOCKING;
    bool serveFrames(LogEvent *dropped) REQUIRES(m_frameMutex);
    LogEvent assembleFrame(uint32_t timeoutMicroseconds) REQUIRES(m_frameMutex);
    LogEvent sendFrame(uint32_t timeoutMicroseconds) REQUIRES(m_frameMutex);
    void dropFrame() REQUIRES(m_frameMutex);

    // A line of data touches the first group, frame handling the second. Each group starts on its own cache
    // line (no false sharing) and stays small, because it is cold at every frame.
    static constexpr std::size_t CacheLineBytes = 64;

    alignas(CacheLineBytes) std::atomic<bool> m_routerRunning{false}; // lines are queued and frames sent
    networksettings2g::LineMonitor m_lines{[this] { return isRunWanted(); }};

    alignas(CacheLineBytes) Mutex *m_frameMutex = nullptr;
    std::atomic<int> m_frameLocksWanted{0}; // threads other than the worker that wait for m_frameMutex
    SocketHandle *m_socketHandle GUARDED_BY(m_frameMutex) = nullptr; // written by the GUI thread
    networksettings2g::LineBlock m_block GUARDED_BY(m_frameMutex);
    networksettings2g::FrameAssembler m_frame GUARDED_BY(m_frameMutex);
    networksettings2g::RouterLog m_log;
    std::shared_ptr<networksettings2g::ChannelFanOut> m_fanOut;
};
