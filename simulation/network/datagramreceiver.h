#pragma once

#include "framechecker.h"
#include "udpsocket.h"

#include <mutex>
#include <thread>

namespace simulation {

/// Receives the datagrams of one channel on its own thread and checks them. Call its functions on the thread
/// that created it.
class DatagramReceiver
{
public:
    explicit DatagramReceiver(const FrameLedger &ledger);
    ~DatagramReceiver();
    DatagramReceiver(const DatagramReceiver &) = delete;
    DatagramReceiver &operator=(const DatagramReceiver &) = delete;

    /// Binds to \a address and starts to receive; with \a port 0 the system chooses a free port. Call it
    /// once. Returns false on failure; error() then gives the reason.
    bool listen(quint32 address, quint16 port);

    /// Returns the address given to listen(), in host byte order.
    quint32 address() const { return m_address; }

    /// Returns the port given to listen() or chosen by the system.
    quint16 port() const { return m_port; }

    bool isListening() const { return m_thread.joinable(); }
    QByteArray error() const { return m_error; }

    /// Call the functions of FrameChecker with the same names. Before that they check the datagrams that wait
    /// in the socket, at most 256, against the previous expectation.
    void expect(const Expectation &expectation);
    void begin();
    void restart();
    void join();

    /// Call the functions of FrameChecker with the same names.
    bool isComplete() const;
    ReceiverStatistics statistics() const;
    ReceiverStatistics finalStatistics() const;

private:
    void run();
    void takeWaiting();

    mutable std::mutex m_mutex; ///< guards m_checker, m_expectation and the reading of m_socket
    UdpSocket m_socket;
    FrameChecker m_checker;
    Expectation m_expectation;
    quint32 m_address = 0;
    quint16 m_port = 0;
    QByteArray m_error;       ///< of listen()
    int m_wake[2] = {-1, -1}; ///< a pipe; closing its write end, the second one, ends the thread
    std::thread m_thread;
};

} // namespace simulation
