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

/// The receivers of all channels whose destination is on this computer. Not thread-safe.
class ReceiverPool
{
public:
    explicit ReceiverPool(const FrameLedger &ledger);
    ~ReceiverPool();

    /// Makes a receiver for channel \a index listen on \a address and a free port. Returns the port, or 0 on
    /// failure.
    quint16 listen(int index, quint32 address);

    /// Creates, moves and removes receivers, so that each channel with a destination on this computer has
    /// one.
    void follow(const ChannelRoutes &routes);

    /// As in FrameChecker, for all receivers.
    void begin();
    void restart();
    void join();

    /// Returns whether all receivers have received what was sent to them.
    bool isComplete() const;

    /// Returns a report for each channel that has a receiver, in the order of the channels.
    QList<ReceiverReport> reports() const;

    /// As reports(), with outstanding frames counted as lost. Call it when no more frames will arrive.
    QList<ReceiverReport> finalReports() const;

private:
    template <typename Statistics>
    QList<ReceiverReport> collect(Statistics statisticsOf) const;

    const FrameLedger &m_ledger;
    std::array<std::unique_ptr<DatagramReceiver>, outputChannelCount> m_receivers;
    ChannelRoutes m_routes;
};

} // namespace simulation
