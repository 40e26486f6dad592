#pragma once

#include <QList>

#include <atomic>
#include <memory>
#include <mutex>

class ChannelAsRouter;

/// Hands each line of tracking data to every channel. The data threads walk a list that is replaced as a
/// whole: each line sees one consistent set of channels, and whoever takes a channel out knows when no data
/// thread can hold it any more.
class ChannelFanOut
{
public:
    ChannelFanOut();
    ~ChannelFanOut();

    /// Makes \a channels the list. Returns when no data thread is under way on the list of before: what is no
    /// longer listed may then be destroyed. Does not wait for data threads that came later, so it ends
    /// however busy they are. GUI thread.
    void publish(const QList<ChannelAsRouter *> &channels);

    /// Offers one line to every channel, in order. Any thread; waits for nothing but short locks.
    void deliver(const char *type, const char *line);

    /// Has every channel drop the frame that it is assembling, in order. Any thread; waits for sends under
    /// way.
    void resetFrames();

private:
    /// One list, and the data threads that are under way on it.
    struct Set
    {
        QList<ChannelAsRouter *> channels;
        std::atomic<int> busyCount{0};
    };

    /// A data thread's stay on the current list.
    class Walk
    {
    public:
        explicit Walk(ChannelFanOut &fanOut);
        ~Walk();
        const QList<ChannelAsRouter *> &channels() const { return m_set->channels; }

    private:
        Set *m_set;
    };

    std::mutex m_mutex; // guards m_set, for as long as it takes to count a walk in or to swap the pointer
    std::unique_ptr<Set> m_set;
};
