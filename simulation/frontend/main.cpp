#include "headless.h"
#include "hostedmodule.h"
#include "mainwindow.h"
#include "modulecontroller.h"
#include "options.h"
#include "programversion.h"
#include "session.h"
#include "signalwatcher.h"

#include <QApplication>
#include <QDir>
#include <QIcon>
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

/// Returns the frontend's icon: a tracked body with its markers.
QIcon windowIcon()
{
    QIcon icon;
    for (const int size : {16, 32, 48, 128})
        icon.addFile(QString::fromLatin1(":/frontend/icon-%1.png").arg(size));
    return icon;
}

void reportProblem(const QString &line)
{
    std::fprintf(stderr, "frontend: %s\n", qPrintable(line));
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

bool endModule(HostedModule &module)
{
    QString problem;
    const bool ended = module.end(&problem);
    if (!ended)
        reportProblem(problem);
    return ended;
}

int runHeadless(Session &session, HostedModule &module)
{
    QWidget moduleParent;
    moduleParent.setWindowIcon(windowIcon());
    module.begin(&session.link(), &moduleParent, session.versions());
    Headless headless(session);
    headless.run();
    const bool ended = endModule(module);
    const bool good = headless.printSummary();
    return ended && good ? Success : Failure;
}

int runWindow(Session &session, HostedModule &module)
{
    MainWindow window(session, session.options().dark);
    ModuleController moduleController(session, module, window);
    moduleController.begin();
    window.showOnScreen();
    session.start();
    if (session.options().seconds > 0)
        QTimer::singleShot(session.options().seconds * 1000, qApp, &QCoreApplication::quit);
    QApplication::exec();
    session.stop();
    return endModule(module) ? Success : Failure;
}

int run(const Options &options)
{
    Session session(options);
    HostedModule module;
    QString problem;
    if (!module.load(pluginFile(options), &problem) || !session.openSource(&problem)) {
        reportProblem(problem);
        return WrongUsage;
    }
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, qApp, &QCoreApplication::quit);
    if (!session.connectController(&problem)) {
        reportProblem(problem);
        return WrongUsage;
    }
    QStringList remarks;
    const bool isSetUp = session.setUp(&remarks, &problem);
    for (const QString &remark : qAsConst(remarks))
        reportProblem(remark);
    if (!isSetUp) {
        reportProblem(problem);
        return Failure;
    }
    return options.headless ? runHeadless(session, module) : runWindow(session, module);
}

} // namespace

} // namespace simulation

using namespace simulation;

int main(int argc, char **argv)
{
    Options options;
    QString problem;
    if (!parseOptions(commandLine(argc, argv), &options, &problem)) {
        reportProblem(problem);
        return WrongUsage;
    }
    if (options.help || options.version) {
        const QString text = options.help ? helpText() : "frontend " + programVersion() + '\n';
        std::fputs(qPrintable(text), stdout);
        return Success;
    }
    if (!choosePlatform(options)) {
        reportProblem(QLatin1String("there is no display; --headless runs without a window"));
        return WrongUsage;
    }
    // Pass only the program's name to Qt, which would take options such as --plugin for its own.
    int argumentCount = 1;
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(argumentCount, argv);
    QApplication::setApplicationName(QLatin1String("frontend"));
    QApplication::setWindowIcon(windowIcon());
    return run(options);
}
