#include "networkprotocol.h"

#include "commandline.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace simulation {

namespace {

const char *const kindNames[] = {"none", "udp", "multicast"}; // in the order of Destination::Kind

QByteArray versionText(const BackendVersions &version)
{
    return QByteArray::number(version.major) + '.' + QByteArray::number(version.minor) + '.' +
           QByteArray::number(version.third);
}

QJsonObject channelObject(const OutputChannel &channel)
{
    QJsonArray types;
    for (const QByteArray &type : channel.types)
        types.append(QString::fromLatin1(type));
    return {{"kind", QLatin1String(kindNames[int(channel.destination.kind)])},
            {"host", QString::fromLatin1(channel.destination.host)},
            {"port", channel.destination.port},
            {"active", channel.active},
            {"divisor", channel.divisor},
            {"types", types}};
}

OutputChannel channelOf(const QJsonObject &object)
{
    OutputChannel channel;
    for (int kind = 0; kind < 3; ++kind) {
        if (object["kind"].toString() == QLatin1String(kindNames[kind]))
            channel.destination.kind = Destination::Kind(kind);
    }
    channel.destination.host = object["host"].toString().toLatin1();
    channel.destination.port = qBound(0, object["port"].toInt(), 65535);
    channel.active = object["active"].toBool();
    channel.divisor = qMax(1, object["divisor"].toInt());
    const QJsonArray types = object["types"].toArray();
    for (const QJsonValue &type : types)
        channel.types.insert(type.toString().toLatin1());
    return channel;
}

} // namespace

QByteArray greetingText(const Greeting &greeting)
{
    return "version " + versionText(greeting.version) + " data " + QByteArray::number(greeting.dataPort);
}

bool parseGreeting(const QByteArray &text, Greeting *greeting)
{
    const QList<QByteArray> words = text.split(' ');
    if (words.size() != 4 || words[0] != "version" || words[2] != "data")
        return false;
    bool isPort = false;
    greeting->dataPort = words[3].toUShort(&isPort);
    return parseVersion(QString::fromLatin1(words[1]), &greeting->version) && isPort &&
           greeting->dataPort != 0;
}

QByteArray stateText(const ControllerState &state)
{
    QJsonArray channels;
    for (const OutputChannel &channel : state.channels)
        channels.append(channelObject(channel));
    const QJsonObject object{{"version", QString::fromLatin1(versionText(state.version))},
                             {"locked", state.locked},
                             {"router", state.viaRouter},
                             {"channels", channels}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

bool parseState(const QByteArray &text, ControllerState *state)
{
    const QJsonObject object = QJsonDocument::fromJson(text).object();
    const QJsonArray channels = object["channels"].toArray();
    BackendVersions version{};
    if (channels.size() != outputChannelCount || !parseVersion(object["version"].toString(), &version))
        return false;
    state->version = version;
    state->locked = object["locked"].toBool();
    state->viaRouter = object["router"].toBool();
    for (int i = 0; i < outputChannelCount; ++i)
        state->channels[size_t(i)] = channelOf(channels[i].toObject());
    return true;
}

} // namespace simulation
