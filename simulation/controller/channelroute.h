#pragma once

#include "controllerstate.h"
#include "framechecker.h"

#include <QHash>
#include <QHostAddress>
#include <QObject>

#include <array>

class QHostInfo;

namespace simulation {

/// Where datagrams may go.
enum class Reach
{
    ThisComputer,
    Network
};

/// The destination and the content of one channel's frames.
struct ChannelRoute
{
    quint32 address = 0; ///< in host byte order; 0: unknown or not allowed
    quint16 port = 0;    ///< 0: no destination
    Expectation content;

    bool isReachable() const { return address != 0 && port != 0; }
};

using ChannelRoutes = std::array<ChannelRoute, outputChannelCount>;

/// Determines the routes of the channels. Host names are looked up in the background: until the answer has
/// come, the route has the address 0. Lives on a thread with an event loop; not thread-safe.
class RouteFinder : public QObject
{
    Q_OBJECT

public:
    /// With Reach::ThisComputer, destinations on other computers are not allowed: their routes get the
    /// address 0.
    explicit RouteFinder(Reach reach)
        : m_reach(reach)
    {
    }

    /// Emits found() for \a state, and again whenever the look-up of a name in \a state has succeeded, until
    /// the next call.
    void follow(const ControllerState &state);

signals:
    void found(const simulation::ChannelRoutes &routes);

private slots:
    void takeAddresses(const QHostInfo &info);

private:
    struct Name
    {
        int lookup = -1; ///< the identifier of the look-up
        quint32 address = 0;
    };

    void forgetUnusedNames();
    void publish();
    quint32 addressOf(const QByteArray &host);
    quint32 allowed(const QHostAddress &address) const;

    const Reach m_reach;
    ControllerState m_state;
    QHash<QByteArray, Name> m_names; ///< the names of hosts in m_state
};

/// Returns whether datagrams to \a address stay on this computer according to the routing table. They do if
/// \a address is an address of this computer, or a multicast group that is routed through the loopback
/// interface. Returns false also if there is no route.
bool staysOnThisComputer(const QHostAddress &address);

} // namespace simulation
