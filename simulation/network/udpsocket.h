#pragma once

#include <QByteArray>

/// An IPv4 UDP socket that never sends or listens beyond this computer. Addresses and ports are in host byte
/// order. Not to be used on several threads at a time.
class UdpSocket
{
public:
    UdpSocket();
    ~UdpSocket();
    UdpSocket(const UdpSocket &) = delete;
    UdpSocket &operator=(const UdpSocket &) = delete;

    /// Binds to \a address, which is one of this computer or a multicast group, to be joined on the loopback
    /// interface. Port 0 lets the system pick one. False on failure; error() then tells why.
    bool listen(quint32 address, quint16 port);

    /// The port that listen() has bound.
    quint16 port() const;

    /// Sends one datagram. Multicast leaves through the loopback interface alone. False on failure.
    bool send(const QByteArray &datagram, quint32 address, quint16 port);

    /// Takes the next datagram that waits into \a datagram. False if none does; never waits.
    bool receive(QByteArray *datagram);

    /// The descriptor, for a wait; -1 if the socket could not be made.
    int descriptor() const { return m_descriptor; }

    /// Why the socket could not be made or listen() failed, in the words of the system.
    QByteArray error() const;

private:
    int m_descriptor;
    int m_error = 0;
};

/// The address of a dotted text or a name, 0 if there is none. May wait for a name server.
quint32 resolveAddress(const QByteArray &host);

QByteArray dottedAddress(quint32 address);

bool isMulticastGroup(quint32 address);

/// Whether what is sent to \a address stays on this computer, by the system's own choice of the way: an
/// address of this computer, or a multicast group that is routed over the loopback interface.
bool staysOnThisComputer(quint32 address);
