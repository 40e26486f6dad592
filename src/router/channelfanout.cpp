#include "channelfanout.h"

#include "channelasrouter.h"
#include "platformthreads.h"

namespace networksettings2g {

namespace {

/// deliver() wakes one more worker for every so many bytes that it has called channels for.
constexpr std::size_t bytesPerServer = std::size_t{320} * 1024;

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
    if (!m_isRouterActive)
        return;
    const RouterLine routed{type, line};
    const auto found = reader.table().byType.find(routed.type);
    if (found == reader.table().byType.cend())
        return;
    ChannelAsRouter *server = nullptr; // the last called channel, whose worker will serve the others
    std::size_t bytes = 0;             // queued for called channels since a worker was last woken
    for (ChannelAsRouter *channel : found->second) {
        const std::size_t queued = channel->enqueue(routed);
        if (queued > 0)
            server = channel;
        bytes += queued;
        if (server && bytes >= bytesPerServer) {
            server->wakeWorker();
            server = nullptr;
            bytes = 0;
        }
    }
    if (server)
        server->wakeWorker();
}

void ChannelFanOut::resetFrames()
{
    const Reader reader(*this);
    if (!m_isRouterActive)
        return;
    for (ChannelAsRouter *channel : reader.table().channels)
        channel->resetFrame();
}

void ChannelFanOut::serveCalled()
{
    const Reader reader(*this);
    for (ChannelAsRouter *channel : reader.table().channels)
        channel->serve();
}

void ChannelFanOut::Table::fill(const Channels &from)
{
    channels = from;
    byType.clear();
    for (ChannelAsRouter *channel : from) {
        for (const QByteArray &type : channel->tickedTypes())
            byType[type.toStdString()] << channel;
    }
    readersLeft = 0;
}

} // namespace networksettings2g
