#pragma once

#include <QList>

#include <array>
#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <string_view>

class ChannelAsRouter;

namespace networksettings2g {

/// Passes each line of tracking data to the channels that tick its type, and lets a worker that is awake
/// serve the called channels (see LineMonitor).
///
/// Readers (data threads and workers) use a table that the GUI thread replaces as a whole, so a line goes to
/// one consistent set of channels and ticks. There are two tables, one of which is current. A reader
/// registers and learns the current index in one atomic operation, so publish() cannot switch tables in
/// between. This is read-copy-update (P. E. McKenney and J. D. Slingwine, 1998) with double buffering and
/// split reference counts (A. Williams, "C++ Concurrency in Action", chapter 7):
///
///     reader:    index = readerState.fetch_add(2) & 1;  use tables[index];  ++tables[index].readersLeft;
///     publish(): fill the other table;  old = readerState.exchange(other);  wait until
///                tables[old & 1].readersLeft == old >> 1;  empty that table
///
/// Thread safety: publish() and the destructor belong to the GUI thread; everything else may be called by any
/// thread.
///
/// Invariants:
/// 1. A channel that a reader finds in its table exists until the reader has left.
/// 2. The table that is not current is empty and has no readers, except within publish().
class ChannelFanOut
{
public:
    /// Lines and resets are passed on only while \a isRouterActive is true. It must exist as long as
    /// deliver() and resetFrames() may be called.
    explicit ChannelFanOut(const std::atomic<bool> &isRouterActive);

    /// Waits until no reader uses the table.
    ~ChannelFanOut();
    ChannelFanOut(const ChannelFanOut &) = delete;
    ChannelFanOut &operator=(const ChannelFanOut &) = delete;

    /// Makes a new table from \a channels and their ticks and makes it the current one. Each channel must
    /// have this fan-out (ChannelAsRouter::setFanOut). Returns once no reader uses the previous table; a
    /// channel that is no longer listed may then be destroyed. Readers that enter later are not waited for,
    /// so publish() returns even under constant load.
    void publish(const QList<ChannelAsRouter *> &channels);

    /// Passes a copy of one line to every channel that ticks \a type, in the order of publish(), without
    /// visiting the others. Waits only for short locks.
    void deliver(const char *type, const char *line);

    /// Makes every channel drop the frame that it is assembling, in the order of publish(). Waits for sends
    /// in progress, at most 100 ms per channel.
    void resetFrames();

    /// Serves all called channels. Workers call it when they wake up. Waits only for short locks.
    void serveCalled();

private:
    using Channels = QList<ChannelAsRouter *>;

    struct Table
    {
        Channels channels;
        std::map<std::string, Channels, std::less<>> byType; // the channels that tick each type
        std::atomic<quint64> readersLeft{0}; // readers that have left since the table was published

        /// Replaces the contents with \a from and their ticks, and sets readersLeft to 0.
        void fill(const Channels &from);
    };

    class Reader;

    const std::atomic<bool> &m_isRouterActive;
    std::array<Table, 2> m_tables;
    // Twice the number of readers that have registered since the current table was published, plus the index
    // of that table.
    std::atomic<quint64> m_readerState{0};
};

} // namespace networksettings2g
