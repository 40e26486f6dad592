#include "hostedmodule.h"

#include "backendversions.h"
#include "iomanager.h"
#include "moduleaction.h"
#include "moduleinterface.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QVariant>
#include <QWidget>

#include <dlfcn.h>

namespace simulation {

namespace {

QString text(const char *source)
{
    return QCoreApplication::translate("HostedModule", source);
}

/// Returns whether the library \a file is still loaded.
bool isInMemory(const QString &file)
{
    void *handle = dlopen(QFile::encodeName(file).constData(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

} // namespace

bool HostedModule::load(const QString &file, QString *problem)
{
    const QFileInfo info(file);
    if (!info.isFile()) {
        *problem = text("there is no plug-in file '%1'").arg(file);
        return false;
    }
    m_loader.setFileName(info.absoluteFilePath());
    // By default QPluginLoader never unloads the library.
    m_loader.setLoadHints({});
    QObject *instance = m_loader.instance();
    if (!instance) {
        *problem = text("cannot load the plug-in: %1").arg(m_loader.errorString().simplified());
        return false;
    }
    m_module = qobject_cast<ModuleInterface *>(instance);
    if (!m_module) {
        m_loader.unload();
        *problem = text("the plug-in '%1' is not a module of this frontend").arg(file);
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
    if (!m_module) {
        *problem = text("no module is loaded");
        return false;
    }
    m_module->prepareShutdown();
    m_module->releaseResources();
    m_module = nullptr;
    const QString file = m_loader.fileName();
    if (!m_loader.unload()) {
        *problem = text("cannot unload the plug-in: %1").arg(m_loader.errorString().simplified());
        return false;
    }
    if (isInMemory(file)) {
        *problem = text("the plug-in stays in memory after it was unloaded");
        return false;
    }
    return true;
}

} // namespace simulation
