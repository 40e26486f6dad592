#include "headless.h"

#include "session.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QTimer>

#include <cstdio>

namespace simulation {

namespace {

bool isGood(const ReceiverReport &report)
{
    const ReceiverStatistics &statistics = report.statistics;
    return report.problem.isEmpty() && statistics.frames > 0 && statistics.lost == 0 &&
           statistics.outOfOrder == 0 && statistics.malformed == 0;
}

QString nameOf(const ReceiverReport &report)
{
    return Headless::tr("channel %1 at %2").arg(report.channel).arg(report.destination);
}

QString summary(const Session &session, int channels)
{
    if (session.isRemote())
        return Headless::tr("summary: %1 frames received from the Controller, %2 channels")
            .arg(session.frames())
            .arg(channels);
    QString sent = Headless::tr("summary: %1 frames sent at %2 per second, %3 channels")
                       .arg(session.frames())
                       .arg(session.rate())
                       .arg(channels);
    if (session.options().simulated.replay.isEmpty())
        return sent;
    return sent + Headless::tr(", %1 recorded lines skipped").arg(session.skippedLines());
}

} // namespace

Headless::Headless(Session &session, QObject *parent)
    : QObject(parent)
    , m_session(session)
{
}

void Headless::run()
{
    QTimer progress;
    connect(&progress, &QTimer::timeout, this, &Headless::printProgress);
    connect(&m_session, &Session::sourceEnded, qApp, &QCoreApplication::quit);
    connect(&m_session, &Session::connectionChanged, this, [](const QString &problem) {
        const QString text =
            problem.isEmpty() ? tr("connected to the Controller") : tr("no connection: %1").arg(problem);
        std::fprintf(stderr, "frontend: %s\n", qPrintable(text));
    });
    m_session.start();
    m_sinceProgress.start();
    progress.setTimerType(Qt::PreciseTimer);
    progress.start(1000);
    if (m_session.options().seconds > 0)
        QTimer::singleShot(m_session.options().seconds * 1000, Qt::PreciseTimer, qApp,
                           &QCoreApplication::quit);
    QCoreApplication::exec();
    progress.stop();
    m_session.stop();
}

void Headless::printProgress()
{
    QTextStream out(stdout);
    const double seconds = double(m_sinceProgress.restart()) / 1000.0;
    const QList<ReceiverReport> reports = m_session.receivers().reports();
    for (const ReceiverReport &report : reports) {
        const ReceiverStatistics &statistics = report.statistics;
        qint64 &before = m_framesBefore[report.channel];
        const double rate = double(statistics.frames - before) / seconds;
        before = statistics.frames;
        out << tr("%1: %2 frames, %3 per second, %4 bytes, %5 lost, last number %6")
                   .arg(nameOf(report))
                   .arg(statistics.frames)
                   .arg(rate, 0, 'f', 1)
                   .arg(statistics.bytes)
                   .arg(statistics.lost)
                   .arg(statistics.lastNumber)
            << '\n';
    }
}

bool Headless::printSummary() const
{
    QTextStream out(stdout);
    const QList<ReceiverReport> reports = m_session.receivers().reports(true);
    out << summary(m_session, reports.size()) << '\n';
    const bool isComplete = m_session.isRemote() || reports.size() == m_session.options().simulated.channels;
    bool good = isComplete && m_session.frames() > 0;
    for (const ReceiverReport &report : reports) {
        const ReceiverStatistics &statistics = report.statistics;
        good = good && isGood(report);
        out << tr("%1: %2 frames, %3 bytes, %4 lost, %5 out of order, %6 malformed, last number %7: %8")
                   .arg(nameOf(report))
                   .arg(statistics.frames)
                   .arg(statistics.bytes)
                   .arg(statistics.lost)
                   .arg(statistics.outOfOrder)
                   .arg(statistics.malformed)
                   .arg(statistics.lastNumber)
                   .arg(isGood(report) ? tr("good") : tr("BAD"))
            << '\n';
    }
    return good;
}

} // namespace simulation
