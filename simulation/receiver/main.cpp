#include "programversion.h"
#include "receiverrun.h"
#include "signalwatcher.h"

#include <QCoreApplication>

#include <cstdio>

namespace simulation {

namespace {

enum ExitStatus : int
{
    Success = 0,
    DataMissing = 1, // or malformed
    WrongUsage = 2   // or a port or file that cannot be used
};

void reportProblem(const QString &line)
{
    std::fprintf(stderr, "receiver: %s\n", qPrintable(line));
}

int run(const ReceiverOptions &options)
{
    ReceiverRun receiver(options);
    QString problem;
    if (!receiver.begin(&problem)) {
        reportProblem(problem);
        return WrongUsage;
    }
    QObject::connect(&receiver, &ReceiverRun::recordingFailed, reportProblem);
    receiver.run();
    const bool isGood = receiver.judge();
    if (!receiver.hasRecordedAll())
        return WrongUsage;
    return isGood ? Success : DataMissing;
}

} // namespace

} // namespace simulation

using namespace simulation;

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    ReceiverOptions options;
    QString problem;
    if (!parseReceiverOptions(QCoreApplication::arguments(), &options, &problem)) {
        reportProblem(problem);
        return WrongUsage;
    }
    if (options.help || options.version) {
        const QString text = options.help ? receiverHelpText() : "receiver " + programVersion() + '\n';
        std::fputs(qPrintable(text), stdout);
        return Success;
    }
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, &application, &QCoreApplication::quit);
    return run(options);
}
