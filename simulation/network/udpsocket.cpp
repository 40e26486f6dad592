#include "udpsocket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace simulation {

namespace {

constexpr quint32 loopbackAddress = 0x7f000001;
constexpr int maximumDatagram = 65535;
/// The size of the receive buffer, which keeps datagrams while the receiving thread is delayed. The system
/// may grant less (net.core.rmem_max).
constexpr int receiveBuffer = 4 * 1024 * 1024;

sockaddr_in socketAddress(quint32 address, quint16 port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(address);
    result.sin_port = htons(port);
    return result;
}

const sockaddr *generic(const sockaddr_in &address)
{
    return reinterpret_cast<const sockaddr *>(&address);
}

bool readLocalAddress(int descriptor, sockaddr_in *address)
{
    socklen_t length = sizeof *address;
    return getsockname(descriptor, reinterpret_cast<sockaddr *>(address), &length) == 0;
}

bool isLoopback(quint32 address)
{
    return address >> 24 == 127;
}

} // namespace

UdpSocket::UdpSocket(Reach reach)
    : m_reach(reach)
    , m_descriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
{
    if (m_descriptor < 0) {
        m_error = errno;
        return;
    }
    if (reach == Reach::Network)
        return;
    in_addr loopback{};
    loopback.s_addr = htonl(loopbackAddress);
    set(IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof loopback);
}

UdpSocket::~UdpSocket()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

bool UdpSocket::listen(quint32 address, quint16 port, int interfaceIndex)
{
    if (m_descriptor < 0)
        return false; // the constructor has set m_error
    setsockopt(m_descriptor, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    const bool isGroup = isMulticastGroup(address);
    // Several programs may receive the same group from the network. In all other cases only one socket may
    // use an address and port.
    const int reuse = isGroup && m_reach == Reach::Network ? 1 : 0;
    if (!set(SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse))
        return false;
    const sockaddr_in local = socketAddress(address, port);
    if (::bind(m_descriptor, generic(local), sizeof local) != 0) {
        m_error = errno;
        return false;
    }
    return !isGroup || joinGroup(address, interfaceIndex);
}

bool UdpSocket::joinGroup(quint32 group, int interfaceIndex)
{
    ip_mreqn membership{};
    membership.imr_multiaddr.s_addr = htonl(group);
    if (m_reach == Reach::ThisComputer)
        membership.imr_address.s_addr = htonl(loopbackAddress);
    else
        membership.imr_ifindex = interfaceIndex;
    // If IP_MULTICAST_ALL were not 0, the socket would also receive the group from interfaces on which only
    // other programs have joined it.
    const int all = 0;
    return set(IPPROTO_IP, IP_MULTICAST_ALL, &all, sizeof all) &&
           set(IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership);
}

bool UdpSocket::set(int level, int option, const void *value, unsigned length)
{
    const bool isSet = setsockopt(m_descriptor, level, option, value, length) == 0;
    if (!isSet)
        m_error = errno;
    return isSet;
}

quint16 UdpSocket::port() const
{
    sockaddr_in local{};
    return readLocalAddress(m_descriptor, &local) ? ntohs(local.sin_port) : quint16(0);
}

bool UdpSocket::send(const QByteArray &datagram, quint32 address, quint16 port)
{
    const sockaddr_in remote = socketAddress(address, port);
    ssize_t sent = -1;
    do {
        sent = ::sendto(m_descriptor, datagram.constData(), size_t(datagram.size()), 0, generic(remote),
                        sizeof remote);
    } while (sent < 0 && errno == EINTR);
    return sent == datagram.size();
}

bool UdpSocket::receive(QByteArray *datagram, PosixEndpoint *sender)
{
    sockaddr_in origin{};
    socklen_t originLength = sizeof origin;
    datagram->resize(maximumDatagram);
    const ssize_t length = ::recvfrom(m_descriptor, datagram->data(), maximumDatagram, MSG_DONTWAIT,
                                      reinterpret_cast<sockaddr *>(&origin), &originLength);
    datagram->resize(length < 0 ? 0 : int(length));
    if (sender && length >= 0)
        *sender = {ntohl(origin.sin_addr.s_addr), ntohs(origin.sin_port)};
    return length >= 0;
}

QByteArray UdpSocket::error() const
{
    return std::strerror(m_error);
}

quint32 resolveAddress(const QByteArray &host)
{
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo *found = nullptr;
    if (host.isEmpty() || getaddrinfo(host.constData(), nullptr, &hints, &found) != 0)
        return 0;
    sockaddr_in address{};
    std::memcpy(&address, found->ai_addr, sizeof address);
    freeaddrinfo(found);
    return ntohl(address.sin_addr.s_addr);
}

QByteArray dottedAddress(quint32 address)
{
    return QByteArray::number(address >> 24) + '.' + QByteArray::number(address >> 16 & 255) + '.' +
           QByteArray::number(address >> 8 & 255) + '.' + QByteArray::number(address & 255);
}

bool isMulticastGroup(quint32 address)
{
    return address >> 28 == 14;
}

bool staysOnThisComputer(quint32 address)
{
    if (isLoopback(address))
        return true;
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    // Connecting a UDP socket sends nothing; it makes the system choose the local address for the route to
    // \a address.
    constexpr quint16 discardPort = 9; // the port has no influence on the route
    const sockaddr_in remote = socketAddress(address, discardPort);
    sockaddr_in local{};
    const bool known = address != 0 && ::connect(descriptor, generic(remote), sizeof remote) == 0 &&
                       readLocalAddress(descriptor, &local);
    ::close(descriptor);
    const quint32 source = ntohl(local.sin_addr.s_addr);
    return known && (isLoopback(source) || source == address);
}

} // namespace simulation
