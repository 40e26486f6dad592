#include <networksettings2g/iomanager.h>
#include <networksettings2g/moduleaction.h>
#include <networksettings2g/moduleinterface.h>

#include <QAction>
#include <QPluginLoader>
#include <QWidget>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <dlfcn.h>
#include <thread>

/// Passes every call on to the real module, but has the fault that the environment variable MODULE_FAULT
/// names. If the variable is empty or not set, it has no fault.
class BrokenModule : public QObject, public ModuleInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "test.BrokenModule")
    Q_INTERFACES(ModuleInterface)

public:
    BrokenModule();
    ~BrokenModule() override;

    void prepareShutdown() override;
    void releaseResources() override;
    QString moduleName() override { return m_module->moduleName(); }
    QString moduleVersion() override { return m_module->moduleVersion(); }
    QList<ModuleAction *> moduleActions() override;
    void setParameter(QString key, QVariant value) override;

private:
    static bool has(const char *fault) { return qgetenv("MODULE_FAULT") == fault; }
    static void stayInMemory();
    void query(); // a query that Controllers before version 1.4 do not know

    QPluginLoader m_loader{QLatin1String(PLUGIN_PATH)};
    ModuleInterface *m_module;
    IOManager *m_manager = nullptr;
    QString m_firstKey;
    ModuleAction m_otherEntry{};
    bool m_calledBefore = false;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread;
};

BrokenModule::BrokenModule()
    : m_module(qobject_cast<ModuleInterface *>(m_loader.instance()))
{
    if (has("stays in memory"))
        stayInMemory();
}

BrokenModule::~BrokenModule()
{
    m_stopping = true;
    if (m_thread.joinable())
        m_thread.join();
    m_loader.unload();
}

void BrokenModule::stayInMemory()
{
    static const int inThisLibrary = 0;
    Dl_info library;
    if (dladdr(&inThisLibrary, &library) != 0)
        dlopen(library.dli_fname, RTLD_LAZY | RTLD_NODELETE);
}

void BrokenModule::query()
{
    char answer[208] = "";
    m_manager->getValue(answer, "output net_via_router");
}

void BrokenModule::prepareShutdown()
{
    if (has("writes at shut-down") && m_manager)
        m_manager->setValue("output net ch01 none");
    if (!has("stays registered"))
        m_module->prepareShutdown();
}

void BrokenModule::releaseResources()
{
    if (has("stays registered"))
        m_module->prepareShutdown();
    m_module->releaseResources();
    if (has("calls after shut-down"))
        query();
    if (has("crashes"))
        std::abort();
}

QList<ModuleAction *> BrokenModule::moduleActions()
{
    if (has("requires CommandManager first") && m_firstKey != QLatin1String("CommandManager"))
        return {};
    QList<ModuleAction *> actions = m_module->moduleActions();
    if (has("ignores the version"))
        query();
    if (has("calls on a thread"))
        std::thread([this] { query(); }).join();
    if (has("leaves a thread") && !m_thread.joinable())
        m_thread = std::thread([this] {
            while (!m_stopping)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        });
    if (has("makes new entries") && m_calledBefore) {
        m_otherEntry = *actions.first();
        actions = {&m_otherEntry};
    }
    m_calledBefore = true;
    return actions;
}

void BrokenModule::setParameter(QString key, QVariant value)
{
    if (m_firstKey.isEmpty())
        m_firstKey = key;
    if (key == QLatin1String("CommandManager"))
        m_manager = value.value<IOManager *>();
    if (has("ignores ObserverMode") && key == QLatin1String("ObserverMode"))
        return;
    m_module->setParameter(key, value);
}

#include "brokenmodule.moc"
