#pragma once

#include "framechecker.h"
#include "udpsocket.h"

#include <mutex>
#include <thread>

namespace simulation {

/// Receives the datagrams of one channel on its own thread and checks them. Call the functions only on the
/// thread that created the object.
class DatagramReceiver
{
public:
    /// \a ledger must outlive this object.
    explicit DatagramReceiver(const FrameLedger &ledger);
    ~DatagramReceiver();
    DatagramReceiver(const DatagramReceiver &) = delete;
    DatagramReceiver &operator=(const DatagramReceiver &) = delete;

    /// Listens as UdpSocket::listen() does with Reach::ThisComputer, and starts to receive. Call it once.
    /// Returns false on failure; error() then gives the reason.
    bool listen(quint32 address, quint16 port);

    /// Returns the address given to listen(), in host byte order.
    quint32 address() const { return m_address; }

    /// Returns the port given to listen() or chosen by the system.
    quint16 port() const { return m_port; }

    bool isListening() const { return m_thread.joinable(); }
    QByteArray error() const { return m_error; }

    /// These functions first check the datagrams that wait in the socket, at most 256, and then call the
    /// functions of FrameChecker with the same names. expect() does nothing if the expectation has not
    /// changed.
    void expect(const Expectation &expectation);
    void begin();
    void restart();
    void join();

    /// These functions call those of FrameChecker with the same names.
    bool isComplete() const;
    ReceiverStatistics statistics() const;
    ReceiverStatistics finalStatistics() const;

private:
    void run();
    void takeWaiting();

    mutable std::mutex m_mutex; ///< guards m_checker, m_expectation and receiving from m_socket
    UdpSocket m_socket;
    FrameChecker m_checker;
    Expectation m_expectation;
    quint32 m_address = 0;
    quint16 m_port = 0;
    QByteArray m_error;       ///< of listen()
    int m_wake[2] = {-1, -1}; ///< a pipe; closing its write end, m_wake[1], ends the thread
    std::thread m_thread;
};

} // namespace simulation
