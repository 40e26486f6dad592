#pragma once

#include <QList>

#include <array>
#include <atomic>
#include <string>
#include <string_view>
#include <vector>

class ChannelAsRouter;

namespace networksettings2g {

/// Hands each line of tracking data to the channels that tick its type, and each called channel to a worker
/// that is awake.
///
/// Readers (data threads and workers) use a table that the GUI thread replaces as a whole, so a line sees one
/// consistent set of channels and ticks. There are two tables, one current. A reader registers and learns the
/// current index in one atomic operation, so publish() cannot switch tables in between (a left-right scheme
/// with one writer, a form of read-copy-update):
///
///     reader:    index = readerState.fetch_add(2) & 1;  use tables[index];  ++tables[index].readersLeft;
///     publish(): fill the other table;  old = readerState.exchange(other);  wait until
///                tables[old & 1].readersLeft == old >> 1;  empty that table
///
/// Thread safety: publish() belongs to the GUI thread; everything else may be called by any thread.
///
/// Invariants:
/// 1. A channel that a reader finds in its table exists until the reader has left.
/// 2. The other table is empty and has no readers, except within publish().
class ChannelFanOut
{
public:
    /// Lines and resets pass only while \a isRouterActive, which must outlive the fan-out.
    explicit ChannelFanOut(const std::atomic<bool> &isRouterActive);
    ~ChannelFanOut();
    ChannelFanOut(const ChannelFanOut &) = delete;
    ChannelFanOut &operator=(const ChannelFanOut &) = delete;

    /// Makes a new table from \a channels and their ticks. Each of them has this fan-out
    /// (ChannelAsRouter::setFanOut). Returns once no reader uses the previous table; a channel no longer
    /// listed may then be destroyed. Readers that enter later are not waited for, so it finishes under
    /// constant load.
    void publish(const QList<ChannelAsRouter *> &channels);

    /// Offers one line to every channel that ticks \a type, in order. Waits only for short locks. The cost
    /// depends only on the number of these channels.
    void deliver(const char *type, const char *line);

    /// Makes every channel drop the frame that it is assembling, in order. Waits for sends in progress.
    void resetFrames();

    /// Serves all called channels but \a server, on whose worker this runs. Does not wait.
    void serveCalled(const ChannelAsRouter *server);

private:
    using Channels = QList<ChannelAsRouter *>;

    struct Route
    {
        std::string type;
        Channels channels;
    };

    struct Table
    {
        Channels channels;
        std::vector<Route> routes;           // sorted by the keys of their types
        std::vector<quint64> keys;           // one per route
        std::atomic<quint64> readersLeft{0}; // readers that have left since the table was published

        void fill(const Channels &from);
        const Channels *find(std::string_view type) const;
    };

    class Reader;

    const std::atomic<bool> &m_isRouterActive;
    std::array<Table, 2> m_tables;
    std::atomic<quint64> m_readerState{
        0}; // twice the readers that have entered the current table, plus its index
};

} // namespace networksettings2g
