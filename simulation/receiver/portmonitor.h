#pragma once

#include "framechecker.h"
#include "framesequence.h"
#include "udpsocket.h"

#include <QElapsedTimer>
#include <QObject>

class QIODevice;

namespace simulation {

/// Receives and checks the datagrams of one port on the thread of its event loop.
class PortMonitor : public QObject
{
    Q_OBJECT

public:
    explicit PortMonitor(const UdpEndpoint &endpoint, QObject *parent = nullptr);

    /// As UdpSocket::listen(). Sets \a problem to a message of one line on failure. Call it once.
    bool listen(int interfaceIndex, QString *problem);

    /// Checks the datagrams that have arrived. The event loop calls it; call it once more after that ends.
    void takePending();

    /// Writes every well-formed datagram to \a recording from now on.
    void setRecording(QIODevice *recording) { m_recording = recording; }

    /// Returns the address and port as text.
    QString name() const;

    ReceiverStatistics statistics() const;
    int restarts() const { return m_sequence.restarts(); }

    /// Returns the sender of the last datagram as text, or "nobody".
    QString sender() const;

    /// Returns the average number of frames per second from the first frame until now.
    double averageRate() const;

private:
    void take(const QByteArray &datagram);

    UdpEndpoint m_endpoint;
    UdpSocket m_socket{UdpSocket::Reach::Network};
    UdpEndpoint m_sender;
    FrameSequence m_sequence;
    ReceiverStatistics m_statistics; ///< without lost and outOfOrder
    QElapsedTimer m_sinceFirst;
    QIODevice *m_recording = nullptr;
};

} // namespace simulation
