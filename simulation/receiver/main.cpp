#include "portmonitor.h"
#include "receiveroptions.h"
#include "signalwatcher.h"

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>
#include <QTimer>

#include <memory>
#include <vector>

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

/// Returns the part that the progress line and the summary of a port have in common.
QString countsOf(const PortMonitor &monitor)
{
    const QString text = countsText(monitor.statistics()) + ", from " + monitor.sender();
    return monitor.restarts() == 0
               ? text
               : text + QString::fromLatin1(", restarted %1 times").arg(monitor.restarts());
}

bool writeAll(QFile &file, const QByteArray &data)
{
    const qint64 written = file.write(data);
    // After an incomplete write, only another one gives the reason.
    return written == data.size() ||
           (written > 0 && file.write(data.mid(int(written))) == data.size() - written);
}

/// Receives on all ports, prints a line per second and port, and judges the data at the end.
class ReceiverRun
{
public:
    ReceiverRun(const CommandLine &line, const ReceiverOptions &options)
        : m_line(line)
        , m_options(options)
    {
    }

    bool begin();
    void run();
    ExitStatus judge() const;

private:
    struct Port
    {
        std::unique_ptr<PortMonitor> monitor;
        qint64 framesBefore = 0; ///< frames at the previous progress line
    };

    bool beginRecording();
    void record(const QByteArray &datagram);
    void printProgress();
    bool isGood(const PortMonitor &monitor) const;

    const CommandLine &m_line;
    const ReceiverOptions &m_options;
    QFile m_recording;
    bool m_hasRecordedAll = true;
    std::vector<Port> m_ports;
    QElapsedTimer m_sinceProgress;
};

/// Opens all ports, and the file to which datagrams are written, if the options name one. Reports a failure
/// and returns false.
bool ReceiverRun::begin()
{
    for (const UdpEndpoint &endpoint : m_options.endpoints) {
        m_ports.push_back({std::make_unique<PortMonitor>(endpoint), 0});
        QString problem;
        if (!m_ports.back().monitor->listen(m_options.interface, &problem))
            return m_line.refuse(problem);
    }
    return m_options.save.isEmpty() || beginRecording();
}

bool ReceiverRun::beginRecording()
{
    m_recording.setFileName(m_options.save);
    // Without a buffer nothing that was received is lost, however the program ends, and a full disk is
    // noticed at once.
    if (!m_recording.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return m_line.refuse(
            QString::fromLatin1("cannot write '%1': %2").arg(m_options.save, m_recording.errorString()));
    PortMonitor *monitor = m_ports.front().monitor.get();
    QObject::connect(monitor, &PortMonitor::wellFormed, monitor,
                     [this](const QByteArray &datagram) { record(datagram); });
    return true;
}

/// Appends \a datagram to the file. Reports the first failure and ends the recording with the last complete
/// datagram, because a recording with a gap could be taken for data with a gap.
void ReceiverRun::record(const QByteArray &datagram)
{
    const qint64 complete = m_recording.pos();
    if (!m_hasRecordedAll)
        return;
    m_hasRecordedAll = writeAll(m_recording, datagram);
    if (m_hasRecordedAll)
        return;
    const QString problem = m_recording.errorString();
    m_recording.resize(complete);
    m_line.report(QString::fromLatin1("cannot write '%1': %2; the recording ends before frame %3")
                      .arg(m_options.save, problem)
                      .arg(m_ports.front().monitor->statistics().lastNumber));
}

/// Runs the event loop and prints the counts once per second, until the time in the options has passed or the
/// application quits for another reason.
void ReceiverRun::run()
{
    QTextStream out(stdout);
    for (const Port &port : m_ports)
        out << "listening on " << port.monitor->name() << '\n';
    out.flush();
    QTimer progress;
    progress.setTimerType(Qt::PreciseTimer);
    QObject::connect(&progress, &QTimer::timeout, &progress, [this] { printProgress(); });
    m_sinceProgress.start();
    progress.start(1000);
    if (m_options.seconds > 0)
        QTimer::singleShot(m_options.seconds * 1000, Qt::PreciseTimer, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    for (const Port &port : m_ports)
        port.monitor->takePending();
}

void ReceiverRun::printProgress()
{
    QTextStream out(stdout);
    const double seconds = double(m_sinceProgress.restart()) / 1000.0;
    for (Port &port : m_ports) {
        const qint64 frames = port.monitor->statistics().frames;
        const double rate = double(frames - port.framesBefore) / seconds;
        port.framesBefore = frames;
        out << port.monitor->name() << ": " << frames << " frames, " << QString::number(rate, 'f', 1)
            << " per second, " << countsOf(*port.monitor) << '\n';
    }
}

/// Prints a summary for each port. Returns WrongUsage if the file could not be written, otherwise Success if
/// every port is good.
ExitStatus ReceiverRun::judge() const
{
    QTextStream out(stdout);
    bool good = true;
    for (const Port &port : m_ports) {
        const PortMonitor &monitor = *port.monitor;
        good = good && isGood(monitor);
        out << "summary of " << monitor.name() << ": " << monitor.statistics().frames << " frames, "
            << QString::number(monitor.averageRate(), 'f', 1) << " per second on average, "
            << countsOf(monitor) << (isGood(monitor) ? ": good\n" : ": BAD\n");
    }
    if (!m_hasRecordedAll)
        return WrongUsage;
    return good ? Success : Failure;
}

bool ReceiverRun::isGood(const PortMonitor &monitor) const
{
    // The share is below 1 because clocks and timers may run slow.
    constexpr double sufficientShare = 0.95;
    const ReceiverStatistics statistics = monitor.statistics();
    return statistics.frames > 0 && statistics.lost == 0 && statistics.malformed == 0 && m_hasRecordedAll &&
           monitor.averageRate() >= sufficientShare * m_options.expectedRate;
}

int run(const CommandLine &line)
{
    ReceiverOptions options;
    if (!readReceiverOptions(line, &options))
        return WrongUsage;
    const SignalWatcher watcher;
    ReceiverRun receiver(line, options);
    if (!receiver.begin())
        return WrongUsage;
    receiver.run();
    return receiver.judge();
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
