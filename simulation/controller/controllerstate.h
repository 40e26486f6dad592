#pragma once

#include "backendversions.h"

#include <QByteArray>
#include <QList>
#include <QSet>

#include <array>

/// The output channels of a Controller, numbered from 1 in its language and from 0 here.
constexpr int outputChannelCount = 10;

/// One entry of the Controller's catalogue of ASCII output types.
struct OutputType
{
    QByteArray name;
    QByteArray description;
    bool available = true;
};

/// Where a channel sends to. Without a kind, host and port mean nothing.
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

struct OutputChannel
{
    Destination destination;
    bool active = false;
    int divisor = 1;        ///< at least 1: of the frames only every n-th is sent
    QSet<QByteArray> types; ///< the ticked output types
};

/// All that the simulated Controller knows of itself.
struct ControllerState
{
    BackendVersions version{};
    bool locked = false;    ///< configuration changes are refused
    bool viaRouter = false; ///< router mode: the frontend sends, the Controller does not
    int systemModel = 0;
    QByteArray monitorAddress; ///< the frontend's computer, as the Controller sees it
    QList<OutputType> catalogue;
    std::array<OutputChannel, outputChannelCount> channels;
};

/// A Controller of version 1.9 with the usual catalogue, all channels without a destination. It is of model
/// 100, which may send to the computer that it runs on.
ControllerState defaultControllerState();

/// The entry of \a catalogue for \a type, null if there is none. Valid as long as the catalogue is unchanged.
const OutputType *findOutputType(const QList<OutputType> &catalogue, const QByteArray &type);
