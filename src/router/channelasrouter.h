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

/// A channel that can forward the tracking data itself: its worker thread joins the queued lines of its
/// ticked types into frames and sends each frame that the divisor selects as one UDP datagram to the
/// destination.
///
/// A worker that is awake also serves the other called channels of its fan-out, so that one wake-up per frame
/// covers several channels. A server handles only the normal case, in which it waits for nothing: one queued
/// frame, the socket ready, the frame mutex free. For anything else it wakes the channel's own worker. So a
/// channel whose socket is not ready delays no other channel.
///
/// Failures of forwarding are only logged (RouterLog). A channel without its locks never routes.
///
/// Thread safety: enqueue(), wakeWorker(), serve() and resetFrame() may be called by any thread that keeps
/// the channel from being destroyed, as a reader of the fan-out does (see ChannelFanOut). Worker threads call
/// runWorker(). Everything else that is not marked "any thread" in Channel belongs to the GUI thread.
///
/// States: see LineMonitor.
///
/// Invariants:
/// 1. Lock order: m_frameMutex, LineMonitor::m_mutex. No thread holds the frame mutexes of two channels.
/// 2. Lines are handled only with m_frameMutex held, also during a send. Only the worker waits for the
///    socket, for at most 100 ms.
/// 3. A thread that sends first checks m_routerRunning, with m_frameMutex held. A stop sets m_routerRunning
///    to false and then locks m_frameMutex. So no datagram is sent after the stop has returned.
/// 4. While m_lines is in state Asleep and no thread holds m_frameMutex, all lines of m_block have been read
///    and m_frame is not complete.
class ChannelAsRouter : public Channel
{
    Q_OBJECT

public:
    ChannelAsRouter(IOManager *ioManager, int channelIndex, BackendVersions *versions);

    /// Waits until every thread that was started for the channel has ended. Only these threads may still use
    /// the channel.
    ~ChannelAsRouter() override;

    /// Sets the fan-out that delivers to this channel. Must be called before the first start.
    void setFanOut(std::shared_ptr<networksettings2g::ChannelFanOut> fanOut) { m_fanOut = std::move(fanOut); }

    /// Queues a copy of \a line, whose type the channel ticks, if the channel is active, its router runs and
    /// its destination has an address. If the result is not 0, the caller must wake a worker, as
    /// LineMonitor::append() says. Waits only for LineMonitor::m_mutex, which is never held for long.
    std::size_t enqueue(const networksettings2g::RouterLine &line);

    /// Wakes the worker if it sleeps. It serves all called channels of its fan-out, then its own lines.
    void wakeWorker() { m_lines.wakeWorker(); }

    /// If the channel is called, sends its next frame in place of its worker, which sleeps. If anything else
    /// is to be done, wakes that worker. Workers call it through ChannelFanOut::serveCalled(). Waits only for
    /// short locks.
    void serve();

    /// Drops the frame that is being assembled. Lines that an awake worker has not handled yet are kept.
    /// Waits for a send in progress, at most 100 ms.
    void resetFrame();

    /// The body of a worker thread: returns when the router should stop, or at once if another thread is the
    /// worker.
    void runWorker();

public slots:
    /// Starts forwarding if \a active is true and the channel is active, otherwise stops it. Both drop the
    /// frame that is being assembled, as resetFrame() does, and wait for a send in progress, at most 100 ms.
    /// A start may block for a name look-up, a stop takes at least 10 ms. Note: Lines still queued after a
    /// stop are forwarded after the next start.
    void updateRouterActiveState(bool active);

private:
    using LogEvent = std::optional<networksettings2g::RouterLog::Event>; // empty: nothing to log

    bool hasLocks() const { return m_frameMutex && m_lines.isUsable(); }
    bool isRunWanted() const { return m_routerRunning && isActive(); }
    void startRouter();
    void stopRouter();
    void startThread();
    void waitForLines();
    void handleLines();
    bool tryLockFrame() TRY_ACQUIRE(true, m_frameMutex);
    bool serveFrame(LogEvent *dropped) REQUIRES(m_frameMutex);
    LogEvent assembleFrame(uint32_t timeoutMicroseconds) REQUIRES(m_frameMutex);
    LogEvent sendFrame(uint32_t timeoutMicroseconds) REQUIRES(m_frameMutex);
    bool dropFrame() REQUIRES(m_frameMutex);
    bool dropFrameWithPriority() EXCLUDES(m_frameMutex);
    void logDestination();
    void logDivisor();

    // enqueue() uses the first group of members, frame handling the second. Each group starts on its own
    // cache line, to prevent false sharing, and is kept small, because at every frame it must be loaded into
    // the cache again.
    static constexpr std::size_t CacheLineBytes = 64;

    // While m_routerRunning is true, lines are queued and frames sent.
    alignas(CacheLineBytes) std::atomic<bool> m_routerRunning{false};
    networksettings2g::LineMonitor m_lines{[this] { return isRunWanted(); }};

    alignas(CacheLineBytes) Mutex *m_frameMutex = nullptr;
    // Threads that want m_frameMutex with priority. Meanwhile the worker pauses between frames and servers do
    // not lock the mutex. Mutexes are not fair: a worker with a backlog could otherwise keep it indefinitely.
    std::atomic<int> m_frameLocksWanted{0};
    SocketHandle *m_socketHandle GUARDED_BY(m_frameMutex) = nullptr; // written by the GUI thread
    networksettings2g::LineBlock m_block GUARDED_BY(m_frameMutex);
    networksettings2g::FrameAssembler m_frame GUARDED_BY(m_frameMutex);
    networksettings2g::RouterLog m_log;
    std::shared_ptr<networksettings2g::ChannelFanOut> m_fanOut;
};
