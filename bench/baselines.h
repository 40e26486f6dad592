#pragma once

#include "pacing.h"
#include "sender.h"

#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>

namespace bench {

// Minimal implementations of the module's work, with which the module is compared. None of them copies a line
// or assembles a frame; the datagrams are prepared except for the frame number.

/// One thread per channel. Once per frame, the feeding thread wakes the thread of each channel with a plain
/// mutex and condition variable, and that thread sends.
class HandOff : public Pipeline
{
public:
    HandOff(const Receivers &receivers, int channels, int padding);

    int64_t sendFrame(uint32_t number) override;
    int channels() const override { return int(m_channels.size()); }

private:
    class Channel
    {
    public:
        Channel(int index, uint16_t port, int padding);
        ~Channel();
        Channel(const Channel &) = delete;
        Channel &operator=(const Channel &) = delete;

        void wake(uint32_t number);

    private:
        static constexpr uint32_t Stop = 1; // no frame has this number

        void run();

        Socket m_socket;
        Sender m_sender;
        std::mutex m_mutex;
        std::condition_variable m_wake;
        uint32_t m_wanted = 0; // number of the last frame to send, or Stop; guarded by m_mutex
        std::thread m_thread;
    };

    std::list<Channel> m_channels;
};

/// One sender: the feeding thread sends all datagrams itself, without a hand-off to other threads.
class OneSender : public Pipeline
{
public:
    OneSender(const Receivers &receivers, int channels, int padding);

    int64_t sendFrame(uint32_t number) override;
    int channels() const override { return int(m_senders.size()); }

private:
    Socket m_socket;
    std::list<Sender> m_senders;
};

/// A plain UDP relay, which users could run instead of the module. The feeding thread sends each frame to the
/// relay in one datagram. The relay's thread receives that datagram and then sends one to each receiver.
class Relay : public Pipeline
{
public:
    Relay(const Receivers &receivers, int channels, int padding);
    ~Relay() override;
    Relay(const Relay &) = delete;
    Relay &operator=(const Relay &) = delete;

    int64_t sendFrame(uint32_t number) override;
    int channels() const override { return m_output.channels(); }

private:
    void run();

    Socket m_input;
    Socket m_feedSocket;
    Sender m_feed;
    OneSender m_output;
    std::thread m_thread;
};

} // namespace bench
