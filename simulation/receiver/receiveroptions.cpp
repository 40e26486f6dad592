#include "receiveroptions.h"

#include <QHostInfo>

#include <algorithm>

namespace simulation {

namespace {

constexpr int maximumExpectedRate = 100000;

/// Returns the IPv4 address of \a host, which is a dotted address or a name, or a null address on failure.
QHostAddress addressOf(const QString &host)
{
    const QHostAddress dotted(host);
    if (!dotted.isNull())
        return dotted;
    const QList<QHostAddress> addresses = QHostInfo::fromName(host).addresses();
    for (const QHostAddress &address : addresses) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol)
            return address;
    }
    return {};
}

/// Parses \a text, which must have the form [ADDRESS:]PORT.
bool readEndpoint(const CommandLine &line, const QString &text, UdpEndpoint *endpoint)
{
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    const QString host = text.left(qMax(colon, 0));
    bool isPort = false;
    endpoint->port = text.midRef(colon + 1).toUShort(&isPort);
    if (!isPort || colon == 0)
        return line.refuse(QString::fromLatin1("expected [ADDRESS:]PORT, not '%1'").arg(text));
    endpoint->address = host.isEmpty() ? QHostAddress(QHostAddress::AnyIPv4) : addressOf(host);
    return !endpoint->address.isNull() ||
           line.refuse(QString::fromLatin1("cannot resolve '%1' to an IPv4 address").arg(host));
}

bool readEndpoints(const CommandLine &line, QList<UdpEndpoint> *endpoints)
{
    const QStringList texts = line.arguments();
    for (const QString &text : texts) {
        UdpEndpoint endpoint;
        if (!readEndpoint(line, text, &endpoint))
            return false;
        endpoints->append(endpoint);
    }
    return !endpoints->isEmpty() || line.refuse(QLatin1String("no port given; try --help"));
}

bool readInterface(const CommandLine &line, ReceiverOptions *options)
{
    QString name;
    if (!line.isSet("interface") || !line.text("interface", &name))
        return !line.isSet("interface");
    const QList<QNetworkInterface> all = QNetworkInterface::allInterfaces();
    const auto named = std::find_if(all.cbegin(), all.cend(), [&name](const QNetworkInterface &interface) {
        return interface.name() == name || interface.humanReadableName() == name;
    });
    if (named == all.cend())
        return line.refuse(QString::fromLatin1("there is no network interface '%1'").arg(name));
    const QList<UdpEndpoint> &endpoints = options->endpoints;
    const bool hasGroup = std::any_of(endpoints.cbegin(), endpoints.cend(), [](const UdpEndpoint &endpoint) {
        return endpoint.address.isMulticast();
    });
    if (!hasGroup)
        return line.refuse(QLatin1String("--interface needs the address of a multicast group"));
    options->interface = *named;
    return true;
}

} // namespace

void declareReceiverOptions(CommandLine &line)
{
    line.addArguments("[ADDRESS:]PORT...",
                      "ADDRESS is an address of this computer or a multicast group to join; without "
                      "it, datagrams to any address of this computer are received. Port 0 stands "
                      "for any free port.");
    line.add("interface", "name",
             "Network interface on which multicast groups are joined, as \"ip address\" names it "
             "(the interface of the route to the group).");
    line.add("expect", "hz",
             "Fail if on average fewer than 95 % of this number of frames per second, 1 to 100000, "
             "arrive.");
    line.add("save", "file",
             "Write the well-formed datagrams to a file, which frontend --replay and controller "
             "--replay can read; only one port may be given.");
}

bool readReceiverOptions(const CommandLine &line, ReceiverOptions *options)
{
    if (!line.number("expect", 1, maximumExpectedRate, &options->expectedRate) ||
        !line.seconds(&options->seconds) || !line.text("save", &options->save) ||
        !readEndpoints(line, &options->endpoints))
        return false;
    if (!options->save.isEmpty() && options->endpoints.size() > 1)
        return line.refuse(
            QLatin1String("--save takes one port: the frames of several ports would be mixed"));
    return readInterface(line, options);
}

} // namespace simulation
