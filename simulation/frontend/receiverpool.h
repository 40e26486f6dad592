#pragma once

#include "channelroute.h"

#include <QList>
#include <QString>

#include <array>
#include <memory>

namespace simulation {

class DatagramReceiver;
class FrameLedger;

/// The state of one channel's receiver.
struct ReceiverReport
{
    int channel = 0;     ///< counted from 1
    QString destination; ///< "address:port"
    QString problem;     ///< why the receiver does not listen; empty if it listens
    bool active = false; ///< whether the channel is active
    ReceiverStatistics statistics;
};

/// The receivers of all channels whose destination is on this computer. Call the functions on the thread that
/// created the object.
class ReceiverPool
{
public:
    /// \a ledger must outlive this object.
    explicit ReceiverPool(const FrameLedger &ledger);
    ~ReceiverPool();

    /// Creates a receiver for channel \a index, counted from 0, that listens on a free port of \a address, in
    /// host byte order. It replaces the channel's previous receiver. Returns the port, or 0 on failure.
    quint16 listen(int index, quint32 address);

    /// Creates, replaces and removes receivers, so that exactly the channels with a reachable route have one.
    /// Each listens at the destination of its channel and expects the content of the route. If a receiver
    /// cannot listen, its report contains the problem.
    void follow(const ChannelRoutes &routes);

    /// These functions call those of DatagramReceiver with the same names for all receivers.
    void begin();
    void restart();
    void join();

    /// Returns whether FrameChecker::isComplete() is true for all receivers that listen.
    bool isComplete() const;

    /// Returns a report for each channel that has a receiver, in the order of the channels. With \a isFinal,
    /// outstanding frames are counted as lost: set it when no more frames will arrive.
    QList<ReceiverReport> reports(bool isFinal = false) const;

private:
    void forEach(void (DatagramReceiver::*function)());

    const FrameLedger &m_ledger;
    std::array<std::unique_ptr<DatagramReceiver>, outputChannelCount> m_receivers;
    ChannelRoutes m_routes;
};

} // namespace simulation
