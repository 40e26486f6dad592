#pragma once

#include "framechecker.h"
#include "framesequence.h"
#include "udplistener.h"

#include <QElapsedTimer>
#include <QObject>

namespace simulation {

/// Receives and checks the datagrams of one port. Lives on a thread with an event loop; not thread-safe.
class PortMonitor : public QObject
{
    Q_OBJECT

public:
    explicit PortMonitor(const UdpEndpoint &endpoint, QObject *parent = nullptr);

    /// Listens as UdpListener::listen() does. Returns false and sets \a problem to a message of one line on
    /// failure. Call it once.
    bool listen(const QNetworkInterface &interface, QString *problem);

    /// Checks pending datagrams, as many as UdpListener::takePending() takes. The event loop calls this
    /// function when datagrams arrive. Call it once more after the event loop has ended, for the datagrams
    /// that arrived last.
    void takePending();

    /// Returns the address and port as text.
    QString name() const { return m_endpoint.text(); }

    /// Returns the counts. The frames and the last number are those of well-formed datagrams. lastFrame is
    /// not set.
    ReceiverStatistics statistics() const;
    int restarts() const { return m_sequence.restarts(); }

    /// Returns the sender of the last datagram as text, or "nobody".
    QString sender() const;

    /// Returns the average number of frames per second from the first frame until now, or 0 before the first
    /// frame.
    double averageRate() const;

signals:
    /// A well-formed datagram has arrived.
    void wellFormed(const QByteArray &datagram);

private:
    void take(const QByteArray &datagram);

    UdpEndpoint m_endpoint;
    UdpListener m_listener;
    UdpEndpoint m_sender;
    FrameSequence m_sequence;
    ReceiverStatistics m_statistics; ///< without lost and outOfOrder, which m_sequence counts
    QElapsedTimer m_sinceFirst;
};

} // namespace simulation
