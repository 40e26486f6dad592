#pragma once

#include "frames.h"
#include "sender.h"

#include <array>
#include <atomic>
#include <cstdint>

#include <sys/types.h>

namespace bench {

/// When recv() returned a datagram, in monotonic nanoseconds, and the datagram's length. Both are 0 if it has
/// not arrived.
struct Arrival
{
    int64_t timeNs = 0;
    int64_t bytes = 0;
};

/// The receivers of all datagrams, one per channel, in a separate process, so that their CPU time is not
/// counted. Each is a thread that blocks in recv(), as a real receiver does, and writes each arrival to
/// shared memory.
///
/// Thread safety: after start(), any thread may call the const functions.
class Receivers
{
public:
    Receivers() = default;
    ~Receivers();
    Receivers(const Receivers &) = delete;
    Receivers &operator=(const Receivers &) = delete;

    /// Forks the process. Call it once, before any thread is created, because fork() copies only the calling
    /// thread. Returns false on failure.
    bool start();

    /// Returns the port of a channel's receiver on 127.0.0.1.
    uint16_t port(int channel) const { return m_ports[size_t(channel)]; }

    /// Returns the arrival of frame \a number. Only the arrivals of the latest 65536 frames are kept.
    Arrival arrival(int channel, uint32_t number) const;

private:
    struct Record
    {
        std::atomic<uint32_t> number{0}; // written last
        std::atomic<int64_t> timeNs{0};
        std::atomic<int64_t> bytes{0};
    };
    using Inbox = std::array<Record, 65536>;
    using Inboxes = std::array<Inbox, channelCount>;

    [[noreturn]] void receiveForever(pid_t parent);
    static void receive(int socket, Inbox &inbox);

    std::array<Socket, channelCount> m_sockets;
    std::array<uint16_t, channelCount> m_ports{};
    Inboxes *m_inboxes = nullptr;
    pid_t m_process = -1;
};

} // namespace bench
