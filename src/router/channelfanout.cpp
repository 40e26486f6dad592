#include "channelfanout.h"

#include "channelasrouter.h"
#include "platformthreads.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <utility>

namespace networksettings2g {

namespace {

/// deliver() wakes one worker for each group of up to this many called channels. Measured with ten channels:
/// two servers keep two processors busy, and the wake-ups of more servers cost more than they gain.
constexpr int channelsPerServer = 5;

/// Returns the first eight bytes of \a type as a number, which is faster to compare than a text. Types that
/// share their first eight bytes are rare.
quint64 keyOf(std::string_view type)
{
    quint64 key = 0;
    std::memcpy(&key, type.data(), std::min(type.size(), sizeof key));
    return key;
}

} // namespace

/// Registers a reader of the current table. As long as the object lives, that table and the channels in it
/// stay valid.
class ChannelFanOut::Reader
{
public:
    explicit Reader(ChannelFanOut &fanOut)
        : m_table(fanOut.m_tables[fanOut.m_readerState.fetch_add(2) & 1])
    {
    }
    // The increment must be the last access, because the table may be reused right after it.
    ~Reader() { ++m_table.readersLeft; }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;

    const Table &table() const { return m_table; }

private:
    Table &m_table;
};

ChannelFanOut::ChannelFanOut(const std::atomic<bool> &isRouterActive)
    : m_isRouterActive(isRouterActive)
{
}

ChannelFanOut::~ChannelFanOut()
{
    publish({});
}

void ChannelFanOut::publish(const QList<ChannelAsRouter *> &channels)
{
    const quint64 next = ~m_readerState & 1;
    m_tables[next].fill(channels);
    const quint64 previous = m_readerState.exchange(next);
    Table &old = m_tables[previous & 1];
    while (old.readersLeft != previous >> 1)
        threadSleep(1);
    old.fill({});
}

void ChannelFanOut::deliver(const char *type, const char *line)
{
    // Register before reading the flag, so that publish() waits for every thread that has read it as true.
    const Reader reader(*this);
    const Channels *channels = m_isRouterActive ? reader.table().find(type) : nullptr;
    if (!channels)
        return;
    const RouterLine routed{type, line};
    // Wake the worker of the last called channel in each group. That worker checks the other channels after
    // the whole group has been called, even if it wakes at a time-out before it is signalled.
    ChannelAsRouter *lastCalled = nullptr;
    int called = 0;
    for (ChannelAsRouter *channel : *channels) {
        if (!channel->enqueue(routed))
            continue;
        lastCalled = channel;
        if (++called % channelsPerServer == 0)
            std::exchange(lastCalled, nullptr)->wakeWorker();
    }
    if (lastCalled)
        lastCalled->wakeWorker();
}

void ChannelFanOut::resetFrames()
{
    const Reader reader(*this);
    if (!m_isRouterActive)
        return;
    for (ChannelAsRouter *channel : reader.table().channels)
        channel->resetFrame();
}

void ChannelFanOut::serveCalled(const ChannelAsRouter *server)
{
    const Reader reader(*this);
    const Channels &channels = reader.table().channels;
    // Begin with the channel before the server, go backwards and wrap around: deliver() wakes the last
    // channel of each group, so two servers begin with different groups. The server itself comes last;
    // serve() does nothing for it, because its worker is awake.
    const int count = channels.size();
    const int first = std::find(channels.cbegin(), channels.cend(), server) - channels.cbegin();
    for (int step = 1; step <= count; ++step)
        channels.at((first + count - step) % count)->serve();
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
    readersLeft = 0;
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

} // namespace networksettings2g
