#pragma once

#include "framechecker.h"
#include "udpsocket.h"

#include <mutex>
#include <thread>

/// Listens for the datagrams of one channel on a thread of its own and judges them. Its functions belong to
/// the thread that made it.
class DatagramReceiver
{
public:
    explicit DatagramReceiver(const FrameLedger &ledger);
    ~DatagramReceiver();
    DatagramReceiver(const DatagramReceiver &) = delete;
    DatagramReceiver &operator=(const DatagramReceiver &) = delete;

    /// Starts to listen; \a port 0 lets the system pick one. To be called once. False on failure; error()
    /// then tells why.
    bool listen(quint32 address, quint16 port);

    /// Where it listens, or was to listen; in host byte order.
    quint32 address() const { return m_address; }
    quint16 port() const { return m_port; }
    bool isListening() const { return m_thread.joinable(); }
    QByteArray error() const { return m_socket.error(); }

    /// As in FrameChecker. What has arrived before the call is still judged by what was expected before.
    void expect(const Expectation &expectation);
    void begin();
    void join();

    bool isComplete() const;
    ReceiverStatistics statistics() const;
    ReceiverStatistics finalStatistics() const;

private:
    void run();
    void takeWaiting();

    mutable std::mutex m_mutex;
    UdpSocket m_socket;
    FrameChecker m_checker;
    Expectation m_expectation;
    quint32 m_address = 0;
    quint16 m_port = 0;
    int m_wake[2] = {-1, -1};
    std::thread m_thread;
};
