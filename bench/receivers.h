#pragma once

#include "frames.h"

#include <array>
#include <atomic>
#include <cstdint>

#include <sys/types.h>

namespace bench {

/// The receivers of all datagrams, one per channel, in a separate process, so that their CPU time is not
/// counted. Each is a thread that blocks in recv(), as a real receiver does, and writes its counts and the
/// time of each arrival to shared memory.
///
/// Thread safety: after start(), any thread may call the const functions.
class Receivers
{
public:
    Receivers() = default;
    ~Receivers();
    Receivers(const Receivers &) = delete;
    Receivers &operator=(const Receivers &) = delete;

    /// Opens the sockets and forks the process. Call it once, before any thread is created, because fork()
    /// copies only the calling thread. Returns false on failure.
    bool start();

    /// Returns the port of a channel's receiver on 127.0.0.1.
    uint16_t port(int channel) const { return m_ports[size_t(channel)]; }

    /// Returns how many datagrams, or bytes in them, a channel's receiver has received.
    uint64_t datagrams(int channel) const;
    uint64_t bytes(int channel) const;

    /// Returns when recv() returned the datagram of frame \a number, in monotonic nanoseconds; 0 if it has
    /// not arrived. Only the arrivals of the latest 65536 frames are kept.
    int64_t arrival(int channel, uint32_t number) const;

private:
    struct Arrival
    {
        std::atomic<uint32_t> number{0};
        std::atomic<int64_t> time{0};
    };
    struct Inbox
    {
        static constexpr uint32_t Kept = 65536;
        alignas(64) std::atomic<uint64_t> datagrams{0};
        std::atomic<uint64_t> bytes{0};
        std::array<Arrival, Kept> arrivals;
    };
    using Inboxes = std::array<Inbox, channelCount>;

    [[noreturn]] void receiveForever(pid_t parent);
    static void receive(int socket, Inbox &inbox);

    std::array<int, channelCount> m_sockets{};
    std::array<uint16_t, channelCount> m_ports{};
    Inboxes *m_inboxes = nullptr;
    pid_t m_process = -1;
};

} // namespace bench
