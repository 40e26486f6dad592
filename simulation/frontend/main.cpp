#include "headless.h"
#include "hostedmodule.h"
#include "mainwindow.h"
#include "session.h"
#include "signalwatcher.h"

#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QTimer>

#include <cstdio>

namespace simulation {

namespace {

constexpr char description[] = R"(
Simulates the frontend of a tracking system and its Controller: loads the
plug-in of the output settings, opens the frontend's window and the window of
the simulated Controller, and shows what the receivers of the channels receive.
F9 opens the dialog of the output settings; F8 shows or hides the window of the
Controller. With the embedded Controller, data leave this computer only in
router mode, and only if a channel has a destination on another computer.
Defaults are in parentheses.

Exit status: 0 for success, which with --headless means that every receiver got
frames, all of them well-formed, in order and without loss; 1 otherwise; 2 for
wrong usage, no display, a plug-in or recording that cannot be loaded, a
Controller that cannot be reached, or a receiver that cannot listen.

Examples:
  frontend --router --channels 10 --rate 1000
  frontend --controller-version 1.5 --dark
  frontend --controller 192.0.2.1:5600
  frontend --headless --seconds 10 --rate 500 --router
  head -9000 recording.txt | frontend --headless --seconds 0 --replay -)";

/// Returns the frontend's icon: a tracked body with its markers.
QIcon windowIcon()
{
    QIcon icon;
    for (const int size : {16, 32, 48, 128})
        icon.addFile(QString::fromLatin1(":/frontend/icon-%1.png").arg(size));
    return icon;
}

/// Selects the offscreen platform for a headless run. Returns false if a window is wanted, but neither a
/// display nor QT_QPA_PLATFORM is set. Call it before creating the application object.
bool choosePlatform(const Options &options)
{
    if (options.headless)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

QString pluginFile(const Options &options)
{
    if (!options.plugin.isEmpty())
        return options.plugin;
    const QDir here(QCoreApplication::applicationDirPath());
    return QDir::cleanPath(here.filePath(QLatin1String("../plugins/NetworkSettings2GModule.so")));
}

bool endModule(HostedModule &module, const CommandLine &line)
{
    QString problem;
    const bool ended = module.end(&problem);
    if (!ended)
        line.report(problem);
    return ended;
}

int runWithoutWindow(Session &session, HostedModule &module, const CommandLine &line)
{
    QWidget moduleParent;
    moduleParent.setWindowIcon(windowIcon());
    module.begin(&session.link(), &moduleParent, session.versions());
    const bool good = runHeadless(session);
    return endModule(module, line) && good ? Success : Failure;
}

int runWindow(Session &session, HostedModule &module, const CommandLine &line)
{
    MainWindow window(session, session.options().dark);
    window.setWindowTitle(MainWindow::tr("Frontend with %1").arg(module.title()));
    window.placeActions(module.begin(&session.link(), &window, session.versions()));
    window.showOnScreen();
    session.start();
    if (session.options().seconds > 0)
        QTimer::singleShot(session.options().seconds * 1000, qApp, &QCoreApplication::quit);
    QApplication::exec();
    session.stop();
    return endModule(module, line) ? Success : Failure;
}

int run(const Options &options, const CommandLine &line)
{
    Session session(options);
    HostedModule module;
    QString problem;
    if (!module.load(pluginFile(options), &problem) || !session.openSource(&problem)) {
        line.report(problem);
        return WrongUsage;
    }
    const SignalWatcher watcher;
    QStringList remarks;
    const bool isSetUp = session.setUp(&remarks, &problem);
    for (const QString &remark : qAsConst(remarks))
        line.report(remark);
    if (!isSetUp) {
        line.report(problem);
        return WrongUsage;
    }
    return options.headless ? runWithoutWindow(session, module, line) : runWindow(session, module, line);
}

} // namespace

} // namespace simulation

using namespace simulation;

int main(int argc, char **argv)
{
    CommandLine line("frontend", description);
    declareOptions(line);
    if (const std::optional<ExitStatus> status = line.parse(argc, argv))
        return *status;
    Options options;
    if (!readOptions(line, &options))
        return WrongUsage;
    if (!choosePlatform(options)) {
        line.report(QLatin1String("there is no display; --headless runs without a window"));
        return WrongUsage;
    }
    // Pass only the program's name to Qt, which would take options such as --plugin for its own.
    int argumentCount = 1;
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(argumentCount, argv);
    QApplication::setApplicationName(QLatin1String("frontend"));
    QApplication::setWindowIcon(windowIcon());
    return run(options, line);
}
