#include "life.h"

#include "observation.h"

#include <QAction>
#include <QDir>
#include <QElapsedTimer>
#include <QMenuBar>
#include <QThread>

#include <cstdio>
#include <thread>

namespace {

constexpr int threadLimitMilliseconds = 1000;

/// Returns the number of threads of this process, or 0 on a system without /proc/self/task.
int threadCount()
{
    return QDir(QLatin1String("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

/// Waits until at most \a expected threads exist, because the system may still list a thread just after it
/// was joined. Returns false if there are more after one second.
bool threadsEnd(int expected)
{
    QElapsedTimer timer;
    timer.start();
    while (threadCount() > expected && !timer.hasExpired(threadLimitMilliseconds))
        QThread::msleep(1);
    return threadCount() <= expected;
}

} // namespace

void Report::step(const char *text, bool good, const QStringList &faults)
{
    good = good && faults.isEmpty();
    m_good = m_good && good;
    std::printf("  %s  %s\n", good ? "ok    " : "FAILED", text);
    for (const QString &fault : faults)
        std::printf("            %s\n", qPrintable(fault));
    std::fflush(stdout); // the next step may crash
}

Life::Life(const QString &file, Report *report)
    : m_report(report)
    , m_loader(file)
{
    receiver.bind(QHostAddress(QHostAddress::LocalHost));
    host.answerWithTwoChannels(receiver.localPort());
    m_loader.setLoadHints({}); // by default QPluginLoader never unloads the library
    m_module = qobject_cast<ModuleInterface *>(m_loader.instance());
    // ThreadSanitizer starts a thread of its own when the program starts its first thread. Let it do so
    // before the threads are counted.
    std::thread([] {}).join();
    m_threadsBefore = threadCount();
}

Life::~Life()
{
    // Unless the library is unloaded, the next Life in this process gets the same module object. After
    // Life::unload() this has no effect.
    m_loader.unload();
}

void Life::step(const char *text, bool good)
{
    m_report->step(text, good, host.takeFaults());
}

void Life::setParameter(int index)
{
    switch (index) {
    case 0:
        m_module->setParameter(QLatin1String("CommandManager"), QVariant::fromValue<IOManager *>(&host));
        break;
    case 1:
        m_module->setParameter(QLatin1String("ModuleParent"), QVariant::fromValue<QWidget *>(window.get()));
        break;
    case 2:
        m_module->setParameter(QLatin1String("BackendVersions"), QVariant::fromValue(&host.versions));
        break;
    default:
        m_module->setParameter(QLatin1String("ObserverMode"), false);
    }
}

void Life::begin()
{
    m_threadsBefore = threadCount();
    for (int index = 0; index < 4; ++index)
        setParameter(index);
    step("Pass the four parameters. The module only stores them.", host.callCount() == 0);
    QAction *action = takeAction();
    step("Call moduleActions() and add the action to the menu that the entry names.", action != nullptr);
}

QAction *Life::takeAction()
{
    const QList<ModuleAction *> actions = m_module->moduleActions();
    if (actions.size() != 1 || !actions.first()->action)
        return nullptr;
    window->menuBar()->addMenu(actions.first()->menuTitle)->addAction(actions.first()->action);
    return actions.first()->action;
}

void Life::prepareShutdown()
{
    m_module->prepareShutdown();
    step("Call prepareShutdown(). It removes the requester and the message receiver and releases all types.",
         !host.isInUse());
    host.close();
}

void Life::releaseResources()
{
    m_module->releaseResources();
    step("Call releaseResources(). No thread of the module runs afterwards.", threadsEnd(m_threadsBefore));
}

void Life::unload()
{
    const QString loaded = file();
    const bool unloaded = m_loader.unload();
    m_module = nullptr;
    step("Unload the library. It is no longer in memory.", unloaded && !isInMemory(loaded));
}

void Life::shutDown()
{
    prepareShutdown();
    releaseResources();
}

void Life::end()
{
    shutDown();
    unload();
}
