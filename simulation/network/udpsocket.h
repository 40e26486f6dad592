#pragma once

#include <QByteArray>

namespace simulation {

/// An IPv4 UDP socket. Addresses and ports are in host byte order. Not thread-safe.
class UdpSocket
{
public:
    /// Where datagrams may go.
    enum class Reach
    {
        ThisComputer, ///< multicast leaves through the loopback interface
        Network       ///< multicast leaves by the routing table
    };

    explicit UdpSocket(Reach reach = Reach::ThisComputer);
    ~UdpSocket();
    UdpSocket(const UdpSocket &) = delete;
    UdpSocket &operator=(const UdpSocket &) = delete;

    /// Binds to \a address, which is an address of this computer or a multicast group to join on the loopback
    /// interface. With \a port 0 the system chooses a free port. Returns false on failure; error() then gives
    /// the reason.
    bool listen(quint32 address, quint16 port);

    /// Returns the port that listen() has bound.
    quint16 port() const;

    /// Sends one datagram. Returns false on failure.
    bool send(const QByteArray &datagram, quint32 address, quint16 port);

    /// Moves the next pending datagram to \a datagram. Returns false if there is none; never blocks.
    bool receive(QByteArray *datagram);

    /// The file descriptor for poll(), or -1 if the socket could not be created.
    int descriptor() const { return m_descriptor; }

    /// Returns the system's message for the failure to create the socket or to listen.
    QByteArray error() const;

private:
    int m_descriptor;
    int m_error = 0;
};

/// Resolves a dotted address or a host name. Returns 0 on failure. May block for a name server.
quint32 resolveAddress(const QByteArray &host);

QByteArray dottedAddress(quint32 address);

bool isMulticastGroup(quint32 address);

/// Returns whether datagrams to \a address stay on this computer according to the routing table: it is an
/// address of this computer, or a multicast group that is routed through the loopback interface.
bool staysOnThisComputer(quint32 address);

} // namespace simulation
