#include "controllerservice.h"
#include "optionreader.h"
#include "programversion.h"
#include "signalwatcher.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

namespace simulation {

namespace {

enum ExitStatus : int
{
    Success = 0,
    Failure = 1,
    WrongUsage = 2
};

void reportProblem(const QString &line)
{
    std::fprintf(stderr, "controller: %s\n", qPrintable(line));
}

int run(const ControllerOptions &options)
{
    ControllerService service(options);
    QString problem;
    if (!service.openSource(&problem)) {
        reportProblem(problem);
        return WrongUsage;
    }
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, qApp, &QCoreApplication::quit);
    if (!service.start(&problem)) {
        reportProblem(problem);
        return Failure;
    }
    std::printf("controller: listening on %s:%d, data on %s:%d\n", qPrintable(options.address),
                int(service.commandPort()), qPrintable(options.address), int(service.dataPort()));
    std::fflush(stdout);
    if (options.seconds > 0)
        QTimer::singleShot(options.seconds * 1000, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    return Success;
}

} // namespace

} // namespace simulation

using namespace simulation;

int main(int argc, char **argv)
{
    ControllerOptions options;
    QString problem;
    if (!parseControllerOptions(commandLine(argc, argv), &options, &problem)) {
        reportProblem(problem);
        return WrongUsage;
    }
    if (options.help || options.version) {
        const QString text = options.help ? controllerHelpText() : "controller " + programVersion() + '\n';
        std::fputs(qPrintable(text), stdout);
        return Success;
    }
    QCoreApplication application(argc, argv);
    return run(options);
}
