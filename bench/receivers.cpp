#include "receivers.h"

#include "clocks.h"

#include <csignal>
#include <new>
#include <thread>

#include <arpa/inet.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

/// Opens a socket bound to a free port of 127.0.0.1, which is written to \a port. Its receive buffer has
/// 64 MiB, or less if the system does not allow that. Returns -1 on failure.
int openSocket(uint16_t *port)
{
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int bufferBytes = 64 * 1024 * 1024;
    // SO_RCVBUFFORCE ignores the system's limit for buffers but needs a privilege.
    if (setsockopt(descriptor, SOL_SOCKET, SO_RCVBUFFORCE, &bufferBytes, sizeof bufferBytes) != 0)
        setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &bufferBytes, sizeof bufferBytes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(descriptor, reinterpret_cast<sockaddr *>(&address), size) != 0 ||
        getsockname(descriptor, reinterpret_cast<sockaddr *>(&address), &size) != 0)
        return -1;
    *port = ntohs(address.sin_port);
    return descriptor;
}

} // namespace

bool Receivers::start()
{
    for (size_t i = 0; i < m_sockets.size(); ++i) {
        m_sockets[i] = openSocket(&m_ports[i]);
        if (m_sockets[i] < 0)
            return false;
    }
    void *memory = mmap(nullptr, sizeof(Inboxes), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return false;
    m_inboxes = new (memory) Inboxes;
    const pid_t parent = getpid();
    m_process = fork();
    if (m_process == 0)
        receiveForever(parent);
    for (const int socket : m_sockets)
        close(socket);
    return m_process > 0;
}

void Receivers::receiveForever(pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) // the parent ended before prctl(), so no signal will come
        _exit(1);
    for (size_t i = 0; i < m_sockets.size(); ++i)
        std::thread(receive, m_sockets[i], std::ref((*m_inboxes)[i])).detach();
    for (;;)
        pause();
}

void Receivers::receive(int socket, Inbox &inbox)
{
    char datagram[65536];
    for (;;) {
        const ssize_t length = recv(socket, datagram, sizeof datagram, 0);
        const int64_t time = nowNs();
        if (length < numberPosition + numberDigits)
            continue;
        const uint32_t number = readNumber(datagram + numberPosition);
        Arrival &arrival = inbox.arrivals[number % Inbox::Kept];
        arrival.time.store(time, std::memory_order_relaxed);
        arrival.number.store(number, std::memory_order_release);
        // Count the datagram last, so that a thread that reads the new count also reads the new bytes
        // and arrival time.
        inbox.bytes.fetch_add(uint64_t(length), std::memory_order_relaxed);
        inbox.datagrams.fetch_add(1, std::memory_order_release);
    }
}

Receivers::~Receivers()
{
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    if (m_inboxes)
        munmap(m_inboxes, sizeof(Inboxes));
}

uint64_t Receivers::datagrams(int channel) const
{
    return (*m_inboxes)[size_t(channel)].datagrams.load(std::memory_order_acquire);
}

uint64_t Receivers::bytes(int channel) const
{
    return (*m_inboxes)[size_t(channel)].bytes.load(std::memory_order_relaxed);
}

int64_t Receivers::arrival(int channel, uint32_t number) const
{
    const Arrival &arrival = (*m_inboxes)[size_t(channel)].arrivals[number % Inbox::Kept];
    return arrival.number.load(std::memory_order_acquire) == number ? arrival.time.load() : 0;
}

} // namespace bench
