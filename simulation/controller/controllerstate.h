#pragma once

#include "backendversions.h"

#include <QByteArray>
#include <QList>
#include <QSet>

#include <array>

namespace simulation {

/// Number of output channels. The command language counts them from 1, ControllerState::channels from 0.
constexpr int outputChannelCount = 10;

/// One entry of the Controller's catalogue of ASCII output types.
struct OutputType
{
    QByteArray name;
    QByteArray description;
    bool available = true;
};

/// The destination of a channel. With kind None, host and port are unused.
struct Destination
{
    enum class Kind
    {
        None,
        Udp,
        Multicast
    };

    Kind kind = Kind::None;
    QByteArray host; ///< name or dotted address
    int port = 0;    ///< 0 to 65535

    bool operator==(const Destination &other) const
    {
        return kind == other.kind && host == other.host && port == other.port;
    }
};

/// The settings of one output channel.
struct OutputChannel
{
    Destination destination;
    bool active = false;
    int divisor = 1;        ///< at least 1; only frames whose numbers are its multiples are sent
    QSet<QByteArray> types; ///< the ticked output types
};

/// The complete state of the simulated Controller.
struct ControllerState
{
    BackendVersions version{};
    bool locked = false;    ///< configuration changes are refused
    bool viaRouter = false; ///< router mode: the frontend's module sends the data
    int systemModel = 0;
    QByteArray monitorAddress; ///< the frontend's address as seen by the Controller
    QList<OutputType> catalogue;
    std::array<OutputChannel, outputChannelCount> channels;
};

/// Returns the state of a Controller of version 1.9.0 with the default catalogue. No channel has a
/// destination, and only the type "fr" is ticked. The system model is 100, the only one for which the
/// module's dialog accepts the destination 127.0.0.1.
ControllerState defaultControllerState();

/// Returns the entry of \a catalogue for \a type, or null. The pointer is valid until the catalogue
/// changes.
const OutputType *findOutputType(const QList<OutputType> &catalogue, const QByteArray &type);

} // namespace simulation
