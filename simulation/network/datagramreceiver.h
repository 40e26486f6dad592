#pragma once

#include "eventthread.h"
#include "framechecker.h"

#include <memory>

namespace simulation {

class UdpListener;

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

    /// Listens as UdpListener::listen() does and starts to receive. \a address is in host byte order; a group
    /// is joined on the loopback interface only. Call it once. Returns false on failure; error() then gives
    /// the reason.
    bool listen(quint32 address, quint16 port);

    /// Returns the address given to listen(), in host byte order.
    quint32 address() const { return m_address; }

    /// Returns the port given to listen() or chosen by the system.
    quint16 port() const { return m_port; }

    bool isListening() const { return m_isListening; }
    QString error() const { return m_error; }

    /// These functions first check datagrams that wait in the socket, as many as UdpListener::takePending()
    /// takes, and then call the functions of FrameChecker with the same names.
    void expect(const Expectation &expectation);
    void begin();
    void restart();
    void join();

    /// These functions call those of FrameChecker with the same names.
    bool isComplete() const;
    ReceiverStatistics statistics() const;
    ReceiverStatistics finalStatistics() const;

private:
    void afterWaiting(const EventThread::Task &change);
    void takeWaiting();
    ReceiverStatistics copied(const std::function<ReceiverStatistics()> &statistics) const;

    quint32 m_address = 0;
    quint16 m_port = 0;
    bool m_isListening = false;
    QString m_error; ///< of listen()

    // Used on m_thread only.
    std::unique_ptr<UdpListener> m_listener;
    FrameChecker m_checker;

    mutable EventThread m_thread;
};

} // namespace simulation
