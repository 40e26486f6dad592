#include "controlleroptions.h"

namespace simulation {

void SimulationOptions::declare(CommandLine &line)
{
    line.add("controller-version", "version",
             "Version of the Controller, such as 1.5 or 1.9.-2, which determines its features: "
             "router mode from 1.4, the send data divisor from 1.6, the configuration lock from 1.9 "
             "(1.9.0).");
    line.add("locked", "", "Lock the configuration.");
    line.add("router", "", "Start in router mode, so that the frontend's module sends the data.");
    line.add("channels", "n", "Number of channels to set up, at most 10 (3).");
    line.add("answer-delay", "ms", "Delay of each answer, at most 2000 (0).");
    line.add("rate", "hz", "Frames per second, 1 to 2000 (60).");
    line.add("replay", "file",
             "Replay recorded lines, each beginning with its output type, instead of synthetic "
             "frames; \"-\" for standard input.");
}

bool SimulationOptions::read(const CommandLine &line)
{
    locked = line.isSet("locked");
    router = line.isSet("router");
    return line.version("controller-version", &version) &&
           line.number("channels", 0, outputChannelCount, &channels) &&
           line.number("rate", 1, maximumRate, &rate) && line.text("replay", &replay) &&
           line.number("answer-delay", 0, maximumAnswerDelayMs, &answerDelayMs);
}

QString SimulationOptions::firstSet(const CommandLine &line)
{
    for (const char *name :
         {"locked", "router", "controller-version", "channels", "rate", "replay", "answer-delay"}) {
        if (line.isSet(name))
            return QLatin1String(name);
    }
    return {};
}

void SimulationOptions::applyTo(ControllerState &state) const
{
    state.version = version;
    state.locked = locked;
    state.viaRouter = router && versionAtLeast(version, 1, 4);
}

void declareControllerOptions(CommandLine &line)
{
    line.add("address", "address",
             "IPv4 address to listen on; 0.0.0.0: all addresses of this computer (127.0.0.1).");
    line.add("port", "port", "TCP port of the commands; 0: any free port (5600).");
    line.add("data-port", "port",
             "TCP port of the data; 0: any free port (the port after --port, or any free port if "
             "--port is 0).");
    SimulationOptions::declare(line);
}

bool readControllerOptions(const CommandLine &line, ControllerOptions *options)
{
    QString address = options->address.toString();
    if (!line.text("address", &address) || !line.number("port", 0, maximumPort, &options->port))
        return false;
    options->dataPort = options->port == 0 ? 0 : options->port + 1;
    if (!line.number("data-port", 0, maximumPort, &options->dataPort) || !options->simulated.read(line) ||
        !line.seconds(&options->seconds))
        return false;
    if (!options->address.setAddress(address) || options->address.protocol() != QAbstractSocket::IPv4Protocol)
        return line.refuse(QString::fromLatin1("'%1' is not an IPv4 address").arg(address));
    return options->dataPort <= maximumPort ||
           line.refuse(QString::fromLatin1("there is no port after %1 for the data").arg(options->port));
}

} // namespace simulation
