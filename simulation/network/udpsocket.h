#pragma once

#include <QByteArray>

namespace simulation {

/// An address and a port in host byte order.
struct PosixEndpoint
{
    quint32 address = 0;
    quint16 port = 0;
};

/// An IPv4 UDP socket. Addresses and ports are in host byte order. Not thread-safe.
class UdpSocket
{
public:
    /// The network interfaces that multicast uses. Unicast follows the routing table in both cases.
    enum class Reach
    {
        ThisComputer, ///< multicast is sent and received through the loopback interface
        Network       ///< multicast is sent as the routing table says and received as listen() describes
    };

    explicit UdpSocket(Reach reach = Reach::ThisComputer);
    ~UdpSocket();
    UdpSocket(const UdpSocket &) = delete;
    UdpSocket &operator=(const UdpSocket &) = delete;

    /// Binds to \a address, which is an address of this computer, 0 for all of them, or a multicast group to
    /// join. With Reach::Network the socket joins the group on the interface with the index \a
    /// interfaceIndex. With the index 0 the system chooses the interface by the route to the group. With \a
    /// port 0 the system chooses a free port. Call it once. Returns false on failure; error() then gives the
    /// reason.
    bool listen(quint32 address, quint16 port, int interfaceIndex = 0);

    /// Returns the port to which the socket is bound, or 0 if it is not bound.
    quint16 port() const;

    /// Sends one datagram. Returns false on failure. May block while the send buffer is full.
    bool send(const QByteArray &datagram, quint32 address, quint16 port);

    /// Receives the next pending datagram and, unless \a sender is null, the address and port that it came
    /// from. Returns false and clears \a datagram if none is pending or the system reports an error. Never
    /// blocks.
    bool receive(QByteArray *datagram, PosixEndpoint *sender = nullptr);

    /// Returns the file descriptor for poll(), or -1 if the socket could not be created.
    int descriptor() const { return m_descriptor; }

    /// Returns the system's message for the last failure to create the socket or to listen.
    QByteArray error() const;

private:
    bool joinGroup(quint32 group, int interfaceIndex);
    bool set(int level, int option, const void *value, unsigned length);

    const Reach m_reach;
    int m_descriptor;
    int m_error = 0;
};

/// Returns the IPv4 address of \a host, which is a dotted address or a host name, in host byte order. Returns
/// 0 on failure. May block while the system asks a name server. Thread-safe.
quint32 resolveAddress(const QByteArray &host);

/// Returns \a address, given in host byte order, in dotted notation.
QByteArray dottedAddress(quint32 address);

/// Returns whether \a address, given in host byte order, is an IPv4 multicast address.
bool isMulticastGroup(quint32 address);

/// Returns whether datagrams to \a address, given in host byte order, stay on this computer according to the
/// routing table. They do if \a address is an address of this computer, or a multicast group that is routed
/// through the loopback interface.
/// Note: Returns false if the system finds no route or no socket can be created.
bool staysOnThisComputer(quint32 address);

} // namespace simulation
