#include "receiverrun.h"
#include "signalwatcher.h"

#include <QCoreApplication>

using namespace simulation;

namespace {

constexpr char description[] = R"(
Shows whether tracking data arrive on this computer: receives the datagrams of
each UDP port, checks them, and prints one line per second and port, then a
summary.

Lost frames are found by gaps in the frame numbers, so each port must receive
one channel only. Restart the program after a change of the channel's divisor.

Exit status: 0 if frames arrived on every port, as fast as --expect requires,
no frame was lost and no datagram was malformed; 1 if not; 2 for wrong usage, or
if the program cannot listen or write the file.

Examples:
  receiver 5001
  receiver --interface eth1 239.255.42.3:5003
  receiver --seconds 10 --expect 60 --save recording.txt 5001)";

int run(const CommandLine &line)
{
    ReceiverOptions options;
    if (!readReceiverOptions(line, &options))
        return WrongUsage;
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, qApp, &QCoreApplication::quit);
    ReceiverRun receiver(options);
    QString problem;
    if (!receiver.begin(&problem)) {
        line.report(problem);
        return WrongUsage;
    }
    QObject::connect(&receiver, &ReceiverRun::recordingFailed,
                     [&line](const QString &text) { line.report(text); });
    receiver.run();
    const bool isGood = receiver.judge();
    if (!receiver.hasRecordedAll())
        return WrongUsage;
    return isGood ? Success : Failure;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    CommandLine line("receiver", description);
    declareReceiverOptions(line);
    const std::optional<ExitStatus> status = line.parse(argc, argv);
    return status ? *status : run(line);
}
