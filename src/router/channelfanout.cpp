#include "channelfanout.h"

#include "channelasrouter.h"
#include "threads.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace {

/// The first bytes of \a type as a number, which is compared faster than a text. Few types differ behind
/// them.
quint64 keyOf(std::string_view type)
{
    quint64 key = 0;
    std::memcpy(&key, type.data(), std::min(type.size(), sizeof key));
    return key;
}

} // namespace

class ChannelFanOut::Visit
{
public:
    explicit Visit(ChannelFanOut &fanOut)
        : m_table(fanOut.m_tables[fanOut.m_entrance.fetch_add(2) & 1])
    {
    }
    // The last touch: the table may be emptied in the next moment.
    ~Visit() { ++m_table.visited; }
    Visit(const Visit &) = delete;
    Visit &operator=(const Visit &) = delete;

    const Table &table() const { return m_table; }

private:
    Table &m_table;
};

ChannelFanOut::~ChannelFanOut()
{
    publish({});
}

void ChannelFanOut::publish(const QList<ChannelAsRouter *> &channels)
{
    const quint64 next = ~m_entrance & 1;
    m_tables[next].fill(channels);
    const quint64 closed = m_entrance.exchange(next);
    Table &old = m_tables[closed & 1];
    while (old.visited != closed >> 1)
        threadSleep(1);
    old.fill({});
}

void ChannelFanOut::deliver(const char *type, const char *line)
{
    const Visit visit(*this);
    const Channels *channels = visit.table().find(type);
    if (!channels)
        return;
    const RouterLine routed{type, line};
    for (ChannelAsRouter *channel : *channels)
        channel->enqueue(routed);
}

void ChannelFanOut::resetFrames()
{
    const Visit visit(*this);
    for (ChannelAsRouter *channel : visit.table().channels)
        channel->resetFrame();
}

void ChannelFanOut::Table::fill(const Channels &from)
{
    std::map<std::pair<quint64, std::string>, Channels> sorted;
    for (ChannelAsRouter *channel : from) {
        for (const QByteArray &name : channel->tickedTypes()) {
            const std::string type = name.toStdString();
            sorted[{keyOf(type), type}] << channel;
        }
    }
    channels = from;
    routes.clear();
    keys.clear();
    for (const auto &[sortedBy, wanting] : sorted) {
        keys.push_back(sortedBy.first);
        routes.push_back({sortedBy.second, wanting});
    }
    visited = 0;
}

const ChannelFanOut::Channels *ChannelFanOut::Table::find(std::string_view type) const
{
    const quint64 key = keyOf(type);
    auto found = std::lower_bound(keys.cbegin(), keys.cend(), key);
    for (; found != keys.cend() && *found == key; ++found) {
        const Route &route = routes[static_cast<std::size_t>(found - keys.cbegin())];
        if (route.type == type)
            return &route.channels;
    }
    return nullptr;
}
