#include "receiverrun.h"

#include "portmonitor.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QTimer>

namespace simulation {

namespace {

/// The share of the expected rate that must be reached. It is below 1 because clocks and timers may run slow.
constexpr double sufficientShare = 0.95;

/// Returns the part that the progress line and the summary of a port have in common.
QString countsText(const PortMonitor &monitor)
{
    const ReceiverStatistics statistics = monitor.statistics();
    const QString text =
        ReceiverRun::tr("%1 bytes, %2 lost, %3 out of order, %4 malformed, last number %5, from %6")
            .arg(statistics.bytes)
            .arg(statistics.lost)
            .arg(statistics.outOfOrder)
            .arg(statistics.malformed)
            .arg(statistics.lastNumber)
            .arg(monitor.sender());
    return monitor.restarts() == 0 ? text
                                   : text + ReceiverRun::tr(", restarted %1 times").arg(monitor.restarts());
}

bool writeAll(QFile &file, const QByteArray &data)
{
    const qint64 written = file.write(data);
    // After an incomplete write, only another one gives the reason.
    return written == data.size() ||
           (written > 0 && file.write(data.mid(int(written))) == data.size() - written);
}

} // namespace

ReceiverRun::ReceiverRun(const ReceiverOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
{
}

ReceiverRun::~ReceiverRun() = default;

bool ReceiverRun::begin(QString *problem)
{
    for (const UdpEndpoint &endpoint : m_options.endpoints) {
        m_ports.push_back({std::make_unique<PortMonitor>(endpoint), 0});
        if (!m_ports.back().monitor->listen(m_options.interface, problem))
            return false;
    }
    if (m_options.save.isEmpty())
        return true;
    m_recording.setFileName(m_options.save);
    // Without a buffer nothing that was received is lost, however the program ends, and a full disk is
    // noticed at once.
    if (!m_recording.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        *problem = tr("cannot write '%1': %2").arg(m_options.save, m_recording.errorString());
        return false;
    }
    connect(m_ports.front().monitor.get(), &PortMonitor::wellFormed, this, &ReceiverRun::record);
    return true;
}

void ReceiverRun::run()
{
    QTextStream out(stdout);
    for (const Port &port : m_ports)
        out << tr("listening on %1").arg(port.monitor->name()) << '\n';
    out.flush();
    QTimer progress;
    progress.setTimerType(Qt::PreciseTimer);
    connect(&progress, &QTimer::timeout, this, &ReceiverRun::writeProgress);
    m_sinceProgress.start();
    progress.start(1000);
    if (m_options.seconds > 0)
        QTimer::singleShot(m_options.seconds * 1000, Qt::PreciseTimer, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    for (const Port &port : m_ports)
        port.monitor->takePending();
}

void ReceiverRun::writeProgress()
{
    QTextStream out(stdout);
    const double seconds = double(m_sinceProgress.restart()) / 1000.0;
    for (Port &port : m_ports) {
        const qint64 frames = port.monitor->statistics().frames;
        const double rate = double(frames - port.framesBefore) / seconds;
        port.framesBefore = frames;
        out << tr("%1: %2 frames, %3 per second, %4")
                   .arg(port.monitor->name())
                   .arg(frames)
                   .arg(rate, 0, 'f', 1)
                   .arg(countsText(*port.monitor))
            << '\n';
    }
}

/// Appends \a datagram to the file. Ends the recording at the first failure, because a recording with a gap
/// could be taken for data with a gap.
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
    emit recordingFailed(tr("cannot write '%1': %2; the recording ends before frame %3")
                             .arg(m_options.save, problem)
                             .arg(m_ports.front().monitor->statistics().lastNumber));
}

bool ReceiverRun::judge() const
{
    QTextStream out(stdout);
    bool good = true;
    for (const Port &port : m_ports) {
        const PortMonitor &monitor = *port.monitor;
        good = good && isGood(monitor);
        out << tr("summary of %1: %2 frames, %3 per second on average, %4: %5")
                   .arg(monitor.name())
                   .arg(monitor.statistics().frames)
                   .arg(monitor.averageRate(), 0, 'f', 1)
                   .arg(countsText(monitor), isGood(monitor) ? tr("good") : tr("BAD"))
            << '\n';
    }
    return good;
}

bool ReceiverRun::isGood(const PortMonitor &monitor) const
{
    const ReceiverStatistics statistics = monitor.statistics();
    return statistics.frames > 0 && statistics.lost == 0 && statistics.malformed == 0 && m_hasRecordedAll &&
           monitor.averageRate() >= sufficientShare * m_options.expectedRate;
}

} // namespace simulation
