#pragma once

#include "channelroute.h"

#include <QList>
#include <QString>
#include <QThread>

#include <array>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace simulation {

class FrameLedger;
struct UdpEndpoint;

/// The state of one channel's receiver.
struct ReceiverReport
{
    int channel = 0;     ///< counted from 1
    QString destination; ///< "address:port"
    QString problem;     ///< why the receiver does not listen; empty if it listens
    bool active = false; ///< whether the channel is active
    ReceiverStatistics statistics;
};

/// The receivers of all channels whose destination is on this computer. Each has a socket and a FrameChecker,
/// which are used on the pool's own thread only, so that no datagram is lost while the GUI thread is busy.
///
/// Thread safety: call the public functions on the thread that created the object. Each of them runs on the
/// pool's thread, after the datagrams that wait in the sockets have been checked, and returns when it is
/// done.
class ReceiverPool : public QObject
{
    Q_OBJECT

public:
    /// \a ledger must outlive this object.
    explicit ReceiverPool(const FrameLedger &ledger);
    ~ReceiverPool() override;

    /// Creates a receiver for channel \a index, counted from 0, that listens on a free port of \a address, in
    /// host byte order. It replaces the channel's previous receiver. Returns the port, or 0 on failure.
    quint16 listen(int index, quint32 address);

    /// Creates, replaces and removes receivers, so that exactly the channels with a reachable route have one.
    /// Each listens at the destination of its channel and expects the content of the route. If a receiver
    /// cannot listen, its report contains the problem.
    void follow(const ChannelRoutes &routes);

    /// These functions call those of FrameChecker with the same names for all receivers.
    void begin();
    void restart();
    void join();

    /// Returns whether FrameChecker::isComplete() is true for all receivers that listen.
    bool isComplete();

    /// Returns a report for each channel that has a receiver, in the order of the channels. With \a isFinal,
    /// outstanding frames are counted as lost: set it when no more frames will arrive.
    QList<ReceiverReport> reports(bool isFinal = false);

private:
    struct Receiver;
    using Task = std::function<void()>;

    void run(const Task &task);
    Q_INVOKABLE void runTask();
    void forEach(const std::function<void(Receiver &)> &call);
    void open(size_t index, const UdpEndpoint &endpoint, const Expectation &content);

    const FrameLedger &m_ledger;

    // Used on m_thread only.
    std::array<std::unique_ptr<Receiver>, outputChannelCount> m_receivers;
    ChannelRoutes m_routes;

    // The task passes between the threads under a std::mutex, because ThreadSanitizer does not see the lock
    // of Qt's event queue and would report data races.
    std::mutex m_mutex;
    std::condition_variable m_done;
    const Task *m_task = nullptr; ///< guarded by m_mutex; null when it is done
    QThread m_thread;
};

} // namespace simulation
