#include "receiveroptions.h"

#include "optionreader.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QHostInfo>

#include <algorithm>

namespace simulation {

namespace {

constexpr int maximumSeconds = 7 * 24 * 3600;
constexpr int maximumExpectedRate = 100000;

QString translated(const char *source)
{
    return QCoreApplication::translate("ReceiverOptions", source);
}

void addOptions(QCommandLineParser &parser)
{
    parser.addOption({{"h", "help"}, QString()});
    parser.addOption(QCommandLineOption(QLatin1String("version")));
    for (const char *name : {"interface", "expect", "seconds", "save"})
        parser.addOption({QLatin1String(name), QString(), QLatin1String("value")});
}

/// Returns the IPv4 address of \a host, which is a dotted address or a name, or a null address on failure.
QHostAddress addressOf(const QString &host)
{
    const QList<QHostAddress> addresses = QHostInfo::fromName(host).addresses();
    for (const QHostAddress &address : addresses) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol)
            return address;
    }
    return {};
}

/// Parses \a text, which must have the form [ADDRESS:]PORT.
bool readEndpoint(const QString &text, UdpEndpoint *endpoint, QString *problem)
{
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    const QString host = text.left(qMax(colon, 0));
    bool isPort = false;
    endpoint->port = text.midRef(colon + 1).toUShort(&isPort);
    if (!isPort || colon == 0) {
        *problem = translated("expected [ADDRESS:]PORT, not '%1'").arg(text);
        return false;
    }
    endpoint->address = host.isEmpty() ? QHostAddress(QHostAddress::AnyIPv4) : addressOf(host);
    if (endpoint->address.isNull())
        *problem = translated("cannot resolve '%1' to an IPv4 address").arg(host);
    return !endpoint->address.isNull();
}

bool readEndpoints(const QStringList &texts, QList<UdpEndpoint> *endpoints, QString *problem)
{
    for (const QString &text : texts) {
        UdpEndpoint endpoint;
        if (!readEndpoint(text, &endpoint, problem))
            return false;
        endpoints->append(endpoint);
    }
    if (endpoints->isEmpty())
        *problem = translated("no port given; try --help");
    return !endpoints->isEmpty();
}

bool readInterface(const QString &name, ReceiverOptions *options, QString *problem)
{
    if (name.isEmpty())
        return true;
    const QList<QNetworkInterface> all = QNetworkInterface::allInterfaces();
    const auto named = std::find_if(all.cbegin(), all.cend(), [&name](const QNetworkInterface &interface) {
        return interface.name() == name || interface.humanReadableName() == name;
    });
    const QList<UdpEndpoint> &endpoints = options->endpoints;
    const bool hasGroup = std::any_of(endpoints.cbegin(), endpoints.cend(), [](const UdpEndpoint &endpoint) {
        return endpoint.address.isMulticast();
    });
    if (named == all.cend())
        *problem = translated("there is no network interface '%1'").arg(name);
    else if (!hasGroup)
        *problem = translated("--interface needs the address of a multicast group");
    else
        options->interface = *named;
    return options->interface.isValid();
}

} // namespace

bool parseReceiverOptions(const QStringList &arguments, ReceiverOptions *options, QString *problem)
{
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(arguments)) {
        *problem = parser.errorText();
        return false;
    }
    options->help = parser.isSet("help");
    options->version = parser.isSet("version");
    if (options->help || options->version)
        return true;
    OptionReader reader(parser, problem);
    QString interfaceName;
    if (!reader.text("interface", translated("the name of a network interface"), &interfaceName) ||
        !reader.number("expect", 1, maximumExpectedRate, &options->expectedRate) ||
        !reader.number("seconds", 0, maximumSeconds, &options->seconds) ||
        !reader.text("save", translated("the name of a file"), &options->save) ||
        !readEndpoints(parser.positionalArguments(), &options->endpoints, problem))
        return false;
    if (!options->save.isEmpty() && options->endpoints.size() > 1) {
        *problem = translated("--save takes one port: the frames of several ports would be mixed");
        return false;
    }
    return readInterface(interfaceName, options, problem);
}

QString receiverHelpText()
{
    return translated(R"(Usage: receiver [option...] [ADDRESS:]PORT...

Shows whether tracking data arrive on this computer: receives the datagrams of each UDP port, checks them, and prints
one line per second and port, then a summary. ADDRESS is an address of this computer or a multicast group to join;
without it, datagrams to any address of this computer are received. Port 0 stands for any free port. Defaults are in
parentheses.

  --interface <name>  network interface on which multicast groups are joined, as "ip address" names it (the interface
                      of the route to the group)
  --expect <hz>       fail if on average fewer than 95 % of this number of frames per second, 1 to 100000, arrive
  --seconds <n>       stop after this many seconds, at most 604800; 0: when interrupted (0)
  --save <file>       write the well-formed datagrams to a file, which frontend --replay and controller --replay can
                      read; only one port may be given
  --version           print the version
  -h, --help          show this text

Lost frames are found by gaps in the frame numbers, so each port must receive one channel only. Restart the program
after a change of the channel's divisor.

Exit status: 0 if frames arrived on every port, as fast as --expect requires, no frame was lost and no datagram was
malformed; 1 if not; 2 for wrong usage, or if the program cannot listen or write the file.

Examples:
  receiver 5001
  receiver --interface eth1 239.255.42.3:5003
  receiver --seconds 10 --expect 60 --save recording.txt 5001
)");
}

} // namespace simulation
