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

QTextStream &operator<<(QTextStream &out, const ReceiverReport &report)
{
    return out << "channel " << report.channel << " at " << report.destination << ": "
               << report.statistics.frames << " frames, ";
}

void reportConnection(const QString &problem)
{
    const QString text = problem.isEmpty() ? QString::fromLatin1("connected to the Controller")
                                           : QLatin1String("no connection: ") + problem;
    std::fprintf(stderr, "frontend: %s\n", qPrintable(text));
}

} // namespace

Headless::Headless(Session &session)
    : m_session(session)
{
}

void Headless::run()
{
    QTimer progress;
    QObject::connect(&progress, &QTimer::timeout, [this] { printProgress(); });
    QObject::connect(&m_session, &Session::sourceEnded, qApp, &QCoreApplication::quit);
    QObject::connect(&m_session, &Session::connectionChanged, reportConnection);
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
        qint64 &before = m_framesBefore[report.channel];
        const double rate = double(report.statistics.frames - before) / seconds;
        before = report.statistics.frames;
        out << report << QString::number(rate, 'f', 1) << " per second, " << countsText(report.statistics)
            << '\n';
    }
}

bool Headless::printSummary() const
{
    QTextStream out(stdout);
    const SimulationOptions &simulated = m_session.options().simulated;
    const QList<ReceiverReport> reports = m_session.receivers().reports(true);
    out << "summary: " << m_session.frames() << " frames ";
    if (m_session.isRemote())
        out << "received from the Controller, ";
    else
        out << "sent at " << m_session.rate() << " per second, ";
    out << reports.size() << " channels";
    if (!simulated.replay.isEmpty())
        out << ", " << m_session.skippedLines() << " recorded lines skipped";
    out << '\n';
    bool good = m_session.frames() > 0 && (m_session.isRemote() || reports.size() == simulated.channels);
    for (const ReceiverReport &report : reports) {
        good = good && isGood(report);
        out << report << countsText(report.statistics) << (isGood(report) ? ": good\n" : ": BAD\n");
    }
    return good;
}

} // namespace simulation
