#include "controlleroptions.h"

#include "controllerstate.h"
#include "optionreader.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace simulation {

namespace {

constexpr int maximumSeconds = 7 * 24 * 3600;
constexpr int maximumPort = 65535;

QString translated(const char *source)
{
    return QCoreApplication::translate("ControllerOptions", source);
}

void addOptions(QCommandLineParser &parser)
{
    parser.addOption({{"h", "help"}, QString()});
    for (const char *name : {"version", "locked", "router"})
        parser.addOption(QCommandLineOption(QLatin1String(name)));
    for (const char *name : {"address", "port", "data-port", "channels", "rate", "controller-version",
                             "replay", "answer-delay", "refuse", "seconds"})
        parser.addOption({QLatin1String(name), QString(), QLatin1String("value")});
}

} // namespace

bool parseControllerOptions(const QStringList &arguments, ControllerOptions *options, QString *problem)
{
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(arguments)) {
        *problem = parser.errorText();
        return false;
    }
    if (!parser.positionalArguments().isEmpty()) {
        *problem = translated("unexpected argument '%1'").arg(parser.positionalArguments().constFirst());
        return false;
    }
    options->help = parser.isSet("help");
    options->version = parser.isSet("version");
    options->locked = parser.isSet("locked");
    options->router = parser.isSet("router");
    OptionReader reader(parser, problem);
    return reader.text("address", translated("an address"), &options->address) &&
           reader.number("port", 0, maximumPort, &options->port) &&
           reader.number("data-port", 0, maximumPort, &options->dataPort) &&
           reader.number("channels", 0, outputChannelCount, &options->channels) &&
           reader.number("rate", 1, maximumRate, &options->rate) &&
           reader.version("controller-version", &options->controllerVersion) &&
           reader.text("replay", translated("the name of a file"), &options->replay) &&
           reader.number("answer-delay", 0, maximumAnswerDelayMs, &options->answerDelayMs) &&
           reader.probability("refuse", &options->refusalProbability) &&
           reader.number("seconds", 0, maximumSeconds, &options->seconds);
}

QString controllerHelpText()
{
    return translated(R"(Usage: controller [option...]

Simulates the Controller of a tracking system on the network: answers the queries and commands of frontends, sends them
the tracking data, and, unless router mode is on, sends the data of each active channel to its destination by UDP.
Connect a frontend with: frontend --controller HOST:PORT
Defaults are in parentheses.

The network:
  --address <address>  IPv4 address to listen on; 0.0.0.0: all addresses of this computer (127.0.0.1)
  --port <port>        TCP port of the commands; 0: any free port (5600)
  --data-port <port>   TCP port of the data; 0: any free port (the port after --port, or any free port if --port is 0)

The Controller:
  --controller-version <major.minor[.third]>
                       version of the Controller, which determines its features: router mode from 1.4, the send data
                       divisor from 1.6, the configuration lock from 1.9 (1.9.0)
  --locked             lock the configuration
  --router             start in router mode, so that the frontend's module sends the data
  --channels <n>       number of channels to set up, 0 to 10 (3); channel 1 sends to port 5001, channel 2 to port 5002,
                       and so on; the destinations of channels 3 and 8 are multicast groups, the others this computer
  --answer-delay <ms>  delay of each answer, 0 to 2000 (0)
  --refuse <p>         probability that a command is refused, 0 to 1 (0)

The data:
  --rate <hz>          frames per second, 1 to 2000 (60)
  --replay <file>      replay recorded lines, each beginning with its output type, instead of synthetic frames;
                       "-" for standard input

The run:
  --seconds <n>        stop after this many seconds; 0: when interrupted (0)
  --version            print the version
  -h, --help           show this text

When the program is ready, it prints one line with both addresses. Exit status: 0 when stopped; 1 if it cannot listen;
2 for wrong usage, or if the recording cannot be used.
)");
}

} // namespace simulation
