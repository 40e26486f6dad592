#include "options.h"

namespace simulation {

void declareOptions(CommandLine &line)
{
    line.add("headless", "",
             "Run without a window: print one line per second for each receiver, then a summary. "
             "Stop after five seconds, unless --seconds is given, or when the data end.");
    line.add("dark", "", "Start with the dark palette, like View > Dark palette.");
    line.add("plugin", "file",
             "Plug-in file of the module (../plugins/NetworkSettings2GModule.so, relative to this "
             "program's folder).");
    line.add("controller", "host:port",
             "Use the Controller at this address, such as the program controller on another "
             "computer, instead of the embedded one. Pass the options below to that program then.");
    SimulationOptions::declare(line);
}

bool readOptions(const CommandLine &line, Options *options)
{
    constexpr int headlessSeconds = 5;
    options->headless = line.isSet("headless");
    options->dark = line.isSet("dark");
    options->seconds = options->headless ? headlessSeconds : 0;
    const bool isValid = line.seconds(&options->seconds) && options->simulated.read(line) &&
                         line.endpoint("controller", &options->controller) &&
                         line.text("plugin", &options->plugin);
    const QString embedded = SimulationOptions::firstSet(line);
    if (!isValid || !options->controller.isSet() || embedded.isEmpty())
        return isValid;
    return line.refuse(
        QString::fromLatin1(
            "--%1 is only for the embedded Controller; pass it to the program controller instead")
            .arg(embedded));
}

} // namespace simulation
