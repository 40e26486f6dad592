#include "channelfanout.h"

#include "channelasrouter.h"
#include "threads.h"

ChannelFanOut::ChannelFanOut()
    : m_set(std::make_unique<Set>())
{
}

ChannelFanOut::~ChannelFanOut()
{
    publish({});
}

void ChannelFanOut::publish(const QList<ChannelAsRouter *> &channels)
{
    auto set = std::make_unique<Set>();
    set->channels = channels;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_set.swap(set);
    }
    while (set->busyCount > 0)
        threadSleep(1);
}

void ChannelFanOut::deliver(const char *type, const char *line)
{
    const Walk walk(*this);
    for (ChannelAsRouter *channel : walk.channels())
        channel->enqueue(type, line);
}

void ChannelFanOut::resetFrames()
{
    const Walk walk(*this);
    for (ChannelAsRouter *channel : walk.channels())
        channel->resetFrame();
}

ChannelFanOut::Walk::Walk(ChannelFanOut &fanOut)
{
    const std::lock_guard<std::mutex> guard(fanOut.m_mutex);
    m_set = fanOut.m_set.get();
    ++m_set->busyCount;
}

ChannelFanOut::Walk::~Walk()
{
    // The last touch: the list may be gone in the next moment.
    --m_set->busyCount;
}
