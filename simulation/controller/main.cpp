#include "controllerprogram.h"
#include "signalwatcher.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

using namespace simulation;

namespace {

constexpr char description[] = R"(
Simulates the Controller of a tracking system on the network: answers the
queries and commands of frontends, sends them the tracking data, and, unless
router mode is on, sends the data of each active channel to its destination by
UDP: channel 1 to port 5001, channel 2 to port 5002, and so on. Connect a
frontend with: frontend --controller HOST:PORT
Defaults are in parentheses.

When the program is ready, it prints one line with both addresses. Exit status:
0 when stopped; 1 if it cannot listen; 2 for wrong usage, or if the recording
cannot be used.)";

int run(const CommandLine &line)
{
    ControllerOptions options;
    if (!readControllerOptions(line, &options))
        return WrongUsage;
    ControllerProgram program(options);
    QString problem;
    if (!program.openSource(&problem)) {
        line.report(problem);
        return WrongUsage;
    }
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, qApp, &QCoreApplication::quit);
    if (!program.start(&problem)) {
        line.report(problem);
        return Failure;
    }
    std::printf("controller: listening on %s:%d, data on %s:%d\n", qPrintable(options.address),
                int(program.commandPort()), qPrintable(options.address), int(program.dataPort()));
    std::fflush(stdout);
    if (options.seconds > 0)
        QTimer::singleShot(options.seconds * 1000, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    return Success;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    CommandLine line("controller", description);
    declareControllerOptions(line);
    const std::optional<ExitStatus> status = line.parse(argc, argv);
    return status ? *status : run(line);
}
