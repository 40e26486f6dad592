#include <networksettings2g/iomanager.h>
#include <networksettings2g/moduleinterface.h>

#include <QPluginLoader>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

/// Passes every call on to the real module, but has the fault that the environment variable MODULE_FAULT
/// names. Any other value means no fault.
class BrokenModule : public QObject, public ModuleInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "test.BrokenModule")
    Q_INTERFACES(ModuleInterface)

public:
    ~BrokenModule() override;

    void prepareShutdown() override;
    void releaseResources() override;
    QString moduleName() override { return m_module->moduleName(); }
    QString moduleVersion() override { return m_module->moduleVersion(); }
    QList<ModuleAction *> moduleActions() override;
    void setParameter(QString key, QVariant value) override;

private:
    static bool has(const char *fault) { return qgetenv("MODULE_FAULT") == fault; }
    void query();

    QPluginLoader m_loader{QLatin1String(PLUGIN_PATH)};
    ModuleInterface *m_module = qobject_cast<ModuleInterface *>(m_loader.instance());
    IOManager *m_manager = nullptr;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread;
};

BrokenModule::~BrokenModule()
{
    m_stopping = true;
    if (m_thread.joinable())
        m_thread.join();
    m_loader.unload();
}

void BrokenModule::query()
{
    char answer[208] = "";
    m_manager->getValue(answer, "output net_via_router");
}

void BrokenModule::prepareShutdown()
{
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
    if (has("calls on a thread"))
        std::thread([this] { query(); }).join();
    if (has("leaves a thread"))
        m_thread = std::thread([this] {
            while (!m_stopping)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        });
    return m_module->moduleActions();
}

void BrokenModule::setParameter(QString key, QVariant value)
{
    if (key == QLatin1String("CommandManager"))
        m_manager = value.value<IOManager *>();
    m_module->setParameter(key, value);
}

#include "brokenmodule.moc"
