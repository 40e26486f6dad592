#include "hostedmodule.h"

#include "backendversions.h"
#include "iomanager.h"
#include "moduleaction.h"
#include "moduleinterface.h"

#include <QFileInfo>
#include <QVariant>
#include <QWidget>

namespace simulation {

bool HostedModule::load(const QString &file, QString *problem)
{
    const QFileInfo info(file);
    if (!info.isFile()) {
        *problem = QString::fromLatin1("there is no plug-in file '%1'").arg(file);
        return false;
    }
    m_loader.setFileName(info.absoluteFilePath());
    // By default QPluginLoader never unloads the library.
    m_loader.setLoadHints({});
    QObject *instance = m_loader.instance();
    if (!instance) {
        *problem =
            QString::fromLatin1("cannot load the plug-in: %1").arg(m_loader.errorString().simplified());
        return false;
    }
    m_module = qobject_cast<ModuleInterface *>(instance);
    if (!m_module) {
        m_loader.unload();
        *problem = QString::fromLatin1("the plug-in '%1' is not a module of this frontend").arg(file);
    }
    return m_module != nullptr;
}

QString HostedModule::title() const
{
    return m_module->moduleName() + ' ' + m_module->moduleVersion();
}

QList<ModuleAction *> HostedModule::begin(IOManager *manager, QWidget *parent, BackendVersions *versions)
{
    m_module->setParameter(QLatin1String("CommandManager"), QVariant::fromValue(manager));
    m_module->setParameter(QLatin1String("ModuleParent"), QVariant::fromValue(parent));
    m_module->setParameter(QLatin1String("BackendVersions"), QVariant::fromValue(versions));
    m_module->setParameter(QLatin1String("ObserverMode"), false);
    return m_module->moduleActions();
}

bool HostedModule::end(QString *problem)
{
    m_module->prepareShutdown();
    m_module->releaseResources();
    m_module = nullptr;
    const bool isUnloaded = m_loader.unload();
    if (!isUnloaded)
        *problem =
            QString::fromLatin1("cannot unload the plug-in: %1").arg(m_loader.errorString().simplified());
    return isUnloaded;
}

} // namespace simulation
