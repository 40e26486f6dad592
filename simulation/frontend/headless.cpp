#include "headless.h"

#include "session.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHash>
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

/// Prints a line for each receiver. \a framesBefore maps the channels to their frames at the previous call,
/// \a seconds ago.
void printProgress(Session &session, double seconds, QHash<int, qint64> *framesBefore)
{
    QTextStream out(stdout);
    const QList<ReceiverReport> reports = session.receivers().reports();
    for (const ReceiverReport &report : reports) {
        qint64 &before = (*framesBefore)[report.channel];
        const double rate = double(report.statistics.frames - before) / seconds;
        before = report.statistics.frames;
        out << report << QString::number(rate, 'f', 1) << " per second, " << countsText(report.statistics)
            << '\n';
    }
}

/// Prints the summary. Returns the result of runHeadless().
bool printSummary(Session &session)
{
    QTextStream out(stdout);
    const SimulationOptions &simulated = session.options().simulated;
    const QList<ReceiverReport> reports = session.receivers().reports(true);
    out << "summary: " << session.frames() << " frames ";
    if (session.isRemote())
        out << "received from the Controller, ";
    else
        out << "sent at " << session.rate() << " per second, ";
    out << reports.size() << " channels";
    if (!simulated.replay.isEmpty())
        out << ", " << session.skippedLines() << " recorded lines skipped";
    out << '\n';
    bool good = session.frames() > 0 && (session.isRemote() || reports.size() == simulated.channels);
    for (const ReceiverReport &report : reports) {
        good = good && isGood(report);
        out << report << countsText(report.statistics) << (isGood(report) ? ": good\n" : ": BAD\n");
    }
    return good;
}

} // namespace

bool runHeadless(Session &session)
{
    QHash<int, qint64> framesBefore;
    QElapsedTimer sinceProgress;
    QTimer progress;
    progress.setTimerType(Qt::PreciseTimer);
    QObject::connect(&progress, &QTimer::timeout, &progress, [&] {
        printProgress(session, double(sinceProgress.restart()) / 1000.0, &framesBefore);
    });
    QObject::connect(&session, &Session::sourceEnded, qApp, &QCoreApplication::quit);
    QObject::connect(&session, &Session::connectionChanged, reportConnection);
    session.start();
    sinceProgress.start();
    progress.start(1000);
    if (session.options().seconds > 0)
        QTimer::singleShot(session.options().seconds * 1000, Qt::PreciseTimer, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    progress.stop();
    session.stop();
    return printSummary(session);
}

} // namespace simulation
