#pragma once

#include <QList>

#include <array>
#include <atomic>
#include <string>
#include <string_view>
#include <vector>

class ChannelAsRouter;

/// Hands each line of tracking data to the channels that tick its type. The data threads look the channels up
/// in a table that is replaced as a whole: each line sees one consistent set of channels and ticks, and
/// whoever takes a channel out knows when no data thread can hold it any more.
class ChannelFanOut
{
public:
    ~ChannelFanOut();

    /// Makes the table from \a channels and their ticks as they are now. Returns when no data thread is under
    /// way in the table of before: what is no longer listed may then be destroyed. Does not wait for data
    /// threads that came later, so it ends however busy they are. GUI thread.
    void publish(const QList<ChannelAsRouter *> &channels);

    /// Offers one line to every channel that ticks \a type, in order. Any thread; waits for nothing but short
    /// locks. The cost depends on the number of these channels alone.
    void deliver(const char *type, const char *line);

    /// Has every channel drop the frame that it is assembling, in order. Any thread; waits for sends under
    /// way.
    void resetFrames();

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
        std::vector<Route> routes;       // sorted by the keys of their types
        std::vector<quint64> keys;       // one a route
        std::atomic<quint64> visited{0}; // visits that have ended since the table was published

        void fill(const Channels &from);
        const Channels *find(std::string_view type) const;
    };

    /// A data thread's stay in the current table.
    class Visit;

    // There are two tables, the current one and one to be filled. Entering is one step that no publication
    // can divide, so that a thread is counted in the table that it uses.
    std::array<Table, 2> m_tables;
    std::atomic<quint64> m_entrance{0}; // twice the visits begun in the current table, plus its index
};
