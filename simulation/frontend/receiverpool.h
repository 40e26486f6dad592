#pragma once

#include "channelroute.h"

#include <QList>
#include <QString>

#include <array>
#include <memory>

class DatagramReceiver;
class FrameLedger;

/// One channel's receiver as it stands.
struct ReceiverReport
{
    int channel = 0;     ///< counted from 1
    QString destination; ///< "address:port"
    QString problem;     ///< why it does not listen, empty if it does
    bool active = false; ///< the channel is on
    ReceiverStatistics statistics;
};

/// The receivers of all channels whose destination is on this computer. One thread.
class ReceiverPool
{
public:
    explicit ReceiverPool(const FrameLedger &ledger);
    ~ReceiverPool();

    /// Listens for channel \a index at \a address and a port that the system picks. Returns the port, 0 on
    /// failure.
    quint16 listen(int index, quint32 address);

    /// Moves, makes and ends the receivers so that each channel that leads somewhere on this computer has
    /// one.
    void follow(const ChannelRoutes &routes);

    /// As in FrameChecker, for all receivers.
    void begin();
    void join();

    /// Whether all receivers have got what was sent to them.
    bool isComplete() const;

    /// One report for each channel that has a destination, by channel.
    QList<ReceiverReport> reports() const;

    /// The same at the end, when no more frames will come.
    QList<ReceiverReport> finalReports() const;

private:
    template <typename Statistics>
    QList<ReceiverReport> collect(Statistics statisticsOf) const;

    const FrameLedger &m_ledger;
    std::array<std::unique_ptr<DatagramReceiver>, outputChannelCount> m_receivers;
    ChannelRoutes m_routes;
};
