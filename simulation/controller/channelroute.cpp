#include "channelroute.h"

#include <QHostInfo>
#include <QUdpSocket>

#include <algorithm>

namespace simulation {

void RouteFinder::follow(const ControllerState &state)
{
    m_state = state;
    forgetUnusedNames();
    publish();
}

/// Limits the memory and the look-ups to the names that the channels use now.
void RouteFinder::forgetUnusedNames()
{
    for (auto name = m_names.begin(); name != m_names.end();) {
        const bool isUsed = std::any_of(
            m_state.channels.cbegin(), m_state.channels.cend(),
            [&name](const OutputChannel &channel) { return channel.destination.host == name.key(); });
        if (!isUsed)
            QHostInfo::abortHostLookup(name->lookup);
        name = isUsed ? std::next(name) : m_names.erase(name);
    }
}

void RouteFinder::publish()
{
    ChannelRoutes routes;
    for (size_t i = 0; i < routes.size(); ++i) {
        const OutputChannel &channel = m_state.channels[i];
        routes[i].content = {channel.types, channel.divisor, channel.active, m_state.viaRouter};
        if (channel.destination.kind == Destination::Kind::None)
            continue;
        routes[i].address = addressOf(channel.destination.host);
        routes[i].port = quint16(channel.destination.port);
    }
    emit found(routes);
}

quint32 RouteFinder::addressOf(const QByteArray &host)
{
    const QHostAddress address(QString::fromLatin1(host));
    if (!address.isNull())
        return allowed(address);
    if (!m_names.contains(host)) {
        // Not with a function object: QHostInfo does not free it if the program ends before the answer comes.
        m_names[host].lookup =
            QHostInfo::lookupHost(QString::fromLatin1(host), this, SLOT(takeAddresses(QHostInfo)));
    }
    return m_names.value(host).address;
}

void RouteFinder::takeAddresses(const QHostInfo &info)
{
    const auto name = std::find_if(m_names.begin(), m_names.end(),
                                   [&info](const Name &each) { return each.lookup == info.lookupId(); });
    // The answer to an aborted look-up may have been under way already.
    if (name == m_names.end())
        return;
    const QList<QHostAddress> addresses = info.addresses();
    for (const QHostAddress &address : addresses) {
        if (name->address == 0)
            name->address = allowed(address);
    }
    // The next change of the state tries a name again that could not be found.
    if (name->address == 0)
        m_names.erase(name);
    else
        publish();
}

/// Returns \a address in host byte order, or 0 if it is not an IPv4 address or not allowed.
quint32 RouteFinder::allowed(const QHostAddress &address) const
{
    return m_reach == Reach::Network || staysOnThisComputer(address) ? address.toIPv4Address() : 0;
}

bool staysOnThisComputer(const QHostAddress &address)
{
    // Connecting a UDP socket sends nothing; it makes the system choose the local address for the route to
    // \a address. The port has no influence on the route.
    constexpr quint16 discardPort = 9;
    QUdpSocket probe;
    probe.connectToHost(address, discardPort);
    return probe.localAddress().isLoopback() || (!address.isNull() && probe.localAddress() == address);
}

} // namespace simulation
