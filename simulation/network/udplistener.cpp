#include "udplistener.h"

namespace simulation {

bool UdpListener::listen(const UdpEndpoint &endpoint, const QNetworkInterface &interface)
{
    const QHostAddress &address = endpoint.address;
    const bool isGroup = address.isMulticast();
    // Several programs may receive the same group. Otherwise only one socket may use an address and port.
    const BindMode mode = isGroup ? ShareAddress | ReuseAddressHint : BindMode(DontShareAddress);
#ifdef Q_OS_WIN
    // Windows cannot bind a socket to a group.
    const QHostAddress local = isGroup ? QHostAddress(QHostAddress::AnyIPv4) : address;
#else
    // Bound to the group, the socket does not receive what is sent to this port at other addresses.
    const QHostAddress &local = address;
#endif
    if (!bind(local, endpoint.port, mode))
        return false;
    // The buffer keeps datagrams while the thread is delayed. The system may grant less (net.core.rmem_max).
    constexpr int receiveBuffer = 4 * 1024 * 1024;
    setSocketOption(ReceiveBufferSizeSocketOption, receiveBuffer);
    if (!isGroup)
        return true;
    if (!interface.isValid())
        return joinMulticastGroup(address);
    m_interface = uint(interface.index());
    return joinMulticastGroup(address, interface);
}

} // namespace simulation
