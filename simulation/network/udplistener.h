#pragma once

#include <QHostAddress>
#include <QNetworkInterface>
#include <QUdpSocket>

namespace simulation {

/// An IPv4 address and a port.
struct UdpEndpoint
{
    QHostAddress address;
    quint16 port = 0;

    QString text() const { return address.toString() + ':' + QString::number(port); }
};

/// A UDP socket that receives the datagrams to one address and port.
class UdpListener : public QUdpSocket
{
    Q_OBJECT

public:
    using QUdpSocket::QUdpSocket;

    /// Listens at \a endpoint, whose address is one of this computer, QHostAddress::AnyIPv4, or a multicast
    /// group to join. The group is joined on \a interface; if that is not valid, the system chooses the
    /// interface by the route to the group. With the port 0 the system chooses a free port. Returns false on
    /// failure; errorString() then gives the reason.
    bool listen(const UdpEndpoint &endpoint, const QNetworkInterface &interface);

    /// Calls \a take for each pending datagram, with its sender. Takes at most 256 datagrams or about 1 MiB,
    /// so that a flood of datagrams cannot keep the thread from other work.
    template <typename Take>
    void takePending(Take take)
    {
        constexpr int atOnce = 256;
        constexpr qint64 bytesAtOnce = qint64{1024} * 1024;
        UdpEndpoint sender;
        qint64 bytes = 0;
        for (int i = 0; i < atOnce && bytes < bytesAtOnce; ++i) {
            const qint64 length =
                readDatagram(m_buffer.data(), m_buffer.size(), &sender.address, &sender.port);
            if (length < 0)
                return;
            take(QByteArray(m_buffer.constData(), int(length)), sender);
            bytes += length;
        }
    }

private:
    static constexpr int MaximumDatagram = 65535;
    QByteArray m_buffer = QByteArray(MaximumDatagram, Qt::Uninitialized);
};

} // namespace simulation
