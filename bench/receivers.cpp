#include "receivers.h"

#include "clocks.h"

#include <csignal>
#include <new>
#include <thread>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

bool Receivers::start()
{
    const int bufferBytes = 64 * 1024 * 1024;
    for (size_t i = 0; i < m_sockets.size(); ++i) {
        const int socket = m_sockets[i].descriptor();
        // SO_RCVBUFFORCE ignores the system's limit for buffers but needs a privilege.
        if (setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &bufferBytes, sizeof bufferBytes) != 0)
            setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &bufferBytes, sizeof bufferBytes);
        m_ports[i] = m_sockets[i].bindToLoopback();
        if (m_ports[i] == 0)
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
    return m_process > 0;
}

void Receivers::receiveForever(pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) // the parent ended before prctl(), so no signal will come
        _exit(1);
    for (size_t i = 0; i < m_sockets.size(); ++i)
        std::thread(receive, m_sockets[i].descriptor(), std::ref((*m_inboxes)[i])).detach();
    for (;;)
        pause();
}

void Receivers::receive(int socket, Inbox &inbox)
{
    char datagram[65536];
    for (;;) {
        const ssize_t length = recv(socket, datagram, sizeof datagram, 0);
        const int64_t time = nowNs();
        if (length < numberEnd)
            continue;
        const uint32_t number = readNumber(datagram);
        Record &record = inbox[number % inbox.size()];
        record.timeNs.store(time, std::memory_order_relaxed);
        record.bytes.store(length, std::memory_order_relaxed);
        record.number.store(number, std::memory_order_release);
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

Arrival Receivers::arrival(int channel, uint32_t number) const
{
    const Inbox &inbox = (*m_inboxes)[size_t(channel)];
    const Record &record = inbox[number % inbox.size()];
    if (record.number.load(std::memory_order_acquire) != number)
        return {};
    return {record.timeNs, record.bytes};
}

} // namespace bench
