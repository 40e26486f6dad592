// Checks the module in a plug-in file in every life cycle that a host may use. Each life cycle runs in a
// separate process, so that the others are checked even if the module crashes or hangs in one of them.

#include "cycles.h"

#include <QApplication>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <cstdio>

namespace {

enum ExitStatus
{
    Good = 0,
    Faulty = 1,
    NotUsable = 2
};

constexpr int cycleLimitSeconds = 60;
constexpr char inProcess[] = "--in-process";

const std::vector<Cycle> cycles = {
    {"load", "The library is loaded and unloaded", loadOnly},
    {"life", "The usual life cycle", ordinaryLife},
    {"parameters", "Parameters in any order", parametersInAnyOrder},
    {"observer", "\"ObserverMode\" is true", observerMode},
    {"actions-twice", "moduleActions() twice", actionsTwice},
    {"release-first", "Release before moduleActions()", releaseBeforeActions},
    {"second-dialog", "A second start after the release", secondDialog},
    {"old-controller", "A Controller of version 1.3", oldController},
    {"refusing", "A Controller that cannot be reached", refusedCommands},
    {"dialog", "The dialog is opened and closed", dialogOpenedAndClosed},
    {"open-dialog", "Shut-down with the dialog open", shutdownWithDialogOpen},
    {"open-message-box", "Shut-down with a message box open", shutdownWithMessageBoxOpen},
    {"parent-first", "The parent widget is destroyed before releaseResources()", parentDestroyedFirst},
    {"event-loop", "The host runs its event loop within queries", eventLoopInQueries},
    {"message-thread", "A message on another thread", messageOnAnotherThread},
    {"four-threads", "Data on four threads until the end", dataOnFourThreads},
};

int usage(std::FILE *stream, ExitStatus status)
{
    std::fputs("modulecheck [--in-process] PLUGIN [CYCLE...]\n"
               "Runs the module in the file PLUGIN through every life cycle that a host may use, or only\n"
               "through the named ones. Prints for each step what the host does and whether the module\n"
               "behaved correctly. With --in-process the life cycles run in this process, for a debugger.\n"
               "Exit status: 0 if every step is ok, 1 if a step has failed, 2 if the file contains no\n"
               "module or an argument is wrong.\n"
               "Life cycles:\n",
               stream);
    for (const Cycle &cycle : cycles)
        std::fprintf(stream, "  %-17s %s\n", cycle.name, cycle.title);
    return status;
}

int notUsable(const QString &argument, const QString &reason)
{
    std::fprintf(stderr, "modulecheck: %s: %s\n", qPrintable(argument), qPrintable(reason));
    return NotUsable;
}

/// Returns the life cycle with \a name, or null.
const Cycle *find(const QString &name)
{
    const auto found = std::find_if(cycles.cbegin(), cycles.cend(), [&name](const Cycle &cycle) {
        return name == QLatin1String(cycle.name);
    });
    return found == cycles.cend() ? nullptr : &*found;
}

int runHere(const QString &file, const Cycle &cycle)
{
    Report report;
    Life life(file, &report);
    if (!life.module()) {
        QString reason = QLatin1String("no module with the interface ") +
                         QLatin1String(qobject_interface_iid<ModuleInterface *>());
        if (!life.error().isEmpty())
            reason += QLatin1String(". ") + life.error();
        return notUsable(file, reason);
    }
    std::printf("%s: %s\n", cycle.name, cycle.title);
    life.step("Load the file with QPluginLoader without load hints and cast its instance to ModuleInterface.",
              true);
    cycle.run(life);
    return report.isGood() ? Good : Faulty;
}

/// Prints that \a cycle \a happened, which no step could report.
int failed(const Cycle &cycle, const QString &happened)
{
    std::printf("  FAILED  The life cycle \"%s\" %s; its completed steps, if any, are above.\n", cycle.name,
                qPrintable(happened));
    std::fflush(stdout); // the next child process writes to the same standard output
    return Faulty;
}

int runInChild(const QString &file, const Cycle &cycle)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedChannels);
    child.start(QCoreApplication::applicationFilePath(),
                {QLatin1String(inProcess), file, QLatin1String(cycle.name)});
    if (!child.waitForStarted())
        return failed(cycle, QLatin1String("could not be started: ") + child.errorString());
    if (!child.waitForFinished(cycleLimitSeconds * 1000)) {
        child.kill();
        child.waitForFinished();
        return failed(cycle, QString::fromLatin1("did not end within %1 s").arg(cycleLimitSeconds));
    }
    if (child.exitStatus() == QProcess::CrashExit || child.exitCode() > NotUsable)
        return failed(cycle, QLatin1String("crashed or was aborted"));
    return child.exitCode();
}

} // namespace

int main(int argc, char *argv[])
{
    // The checks need no display.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QStringList arguments = QApplication::arguments().mid(1);
    if (arguments.contains(QLatin1String("--help")))
        return usage(stdout, Good);
    const bool here = arguments.removeAll(QLatin1String(inProcess)) > 0;
    if (arguments.isEmpty() || arguments.first().startsWith(QLatin1Char('-')))
        return usage(stderr, NotUsable);
    const QString file = QFileInfo(arguments.takeFirst()).absoluteFilePath();
    for (const QString &name : qAsConst(arguments)) {
        if (!find(name))
            return notUsable(name, QLatin1String("no such life cycle; --help lists them"));
    }
    if (!QFileInfo(file).isFile())
        return notUsable(file, QLatin1String("no such file"));

    int status = Good;
    for (const Cycle &cycle : cycles) {
        if (!arguments.isEmpty() && !arguments.contains(QLatin1String(cycle.name)))
            continue;
        const int result = here ? runHere(file, cycle) : runInChild(file, cycle);
        if (result == NotUsable)
            return NotUsable;
        status = qMax(status, result);
    }
    if (!here)
        std::printf("%s\n", status == Good ? "Every step is ok." : "At least one step has failed.");
    return status;
}
