#include "datagramreceiver.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace simulation {

namespace {

/// Returns \a statistics with a deep copy of lastFrame. ThreadSanitizer does not see that Qt's reference
/// counts are atomic, and would report a data race on bytes that two threads share.
ReceiverStatistics unshared(ReceiverStatistics statistics)
{
    statistics.lastFrame.detach();
    return statistics;
}

} // namespace

DatagramReceiver::DatagramReceiver(const FrameLedger &ledger)
    : m_checker(ledger)
{
}

DatagramReceiver::~DatagramReceiver()
{
    if (!isListening())
        return;
    // After the write end is closed, poll() reports an event at the read end, which ends run().
    ::close(m_wake[1]);
    m_thread.join();
    ::close(m_wake[0]);
}

bool DatagramReceiver::listen(quint32 address, quint16 port)
{
    m_address = address;
    m_port = port;
    if (!m_socket.listen(address, port)) {
        m_error = m_socket.error();
        return false;
    }
    if (::pipe2(m_wake, O_CLOEXEC) != 0) {
        m_error = std::strerror(errno);
        return false;
    }
    m_port = m_socket.port();
    m_thread = std::thread([this] { run(); });
    return true;
}

void DatagramReceiver::expect(const Expectation &expectation)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (expectation == m_expectation)
        return;
    takeWaiting();
    m_expectation = expectation;
    m_checker.expect(expectation);
}

void DatagramReceiver::begin()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    takeWaiting();
    m_checker.begin();
}

void DatagramReceiver::restart()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    takeWaiting();
    m_checker.restart();
}

void DatagramReceiver::join()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    takeWaiting();
    m_checker.join();
}

bool DatagramReceiver::isComplete() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_checker.isComplete();
}

ReceiverStatistics DatagramReceiver::statistics() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return unshared(m_checker.statistics());
}

ReceiverStatistics DatagramReceiver::finalStatistics() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return unshared(m_checker.finalStatistics());
}

void DatagramReceiver::run()
{
    pollfd waits[2] = {{m_socket.descriptor(), POLLIN, 0}, {m_wake[0], POLLIN, 0}};
    while (waits[1].revents == 0) {
        if (::poll(waits, 2, -1) <= 0) {
            waits[1].revents = 0;
            continue;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        takeWaiting();
    }
}

/// Checks the datagrams that wait in the socket, at most 256. The caller holds m_mutex.
void DatagramReceiver::takeWaiting()
{
    // The number is limited, so that a flooding sender cannot monopolise the lock.
    constexpr int atOnce = 256;
    QByteArray datagram;
    for (int i = 0; i < atOnce && m_socket.receive(&datagram); ++i)
        m_checker.take(datagram);
}

} // namespace simulation
