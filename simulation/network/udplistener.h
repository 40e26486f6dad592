#pragma once

#include <QHostAddress>
#include <QNetworkDatagram>
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
    /// group to join. The group is joined on \a interface, and datagrams to it that arrive on another one are
    /// ignored. If \a interface is not valid, the system chooses it by the route to the group. With the port
    /// 0 the system chooses a free port. Returns false on failure; errorString() then gives the reason.
    bool listen(const UdpEndpoint &endpoint, const QNetworkInterface &interface);

    /// Calls \a take for each pending datagram, with its sender. Takes at most 256 datagrams or about 1 MiB,
    /// so that a flood of datagrams cannot keep the thread from other work.
    template <typename Take>
    void takePending(Take take)
    {
        constexpr int atOnce = 256;
        constexpr qint64 bytesAtOnce = qint64{1024} * 1024;
        constexpr int maximumDatagram = 65535;
        qint64 bytes = 0;
        for (int i = 0; i < atOnce && bytes < bytesAtOnce; ++i) {
            const QNetworkDatagram datagram = receiveDatagram(maximumDatagram);
            if (!datagram.isValid())
                return;
            bytes += datagram.data().size();
            // The system passes the datagrams of a group to every socket that is bound to it, even if only
            // another program has joined the group on their interface. The index 0 means unknown.
            if (m_interface == 0 || datagram.interfaceIndex() == 0 ||
                datagram.interfaceIndex() == m_interface)
                take(datagram.data(), UdpEndpoint{datagram.senderAddress(), quint16(datagram.senderPort())});
        }
    }

private:
    uint m_interface = 0; ///< index of the interface on which a group was joined; 0: any
};

} // namespace simulation
