#pragma once

#include <QList>
#include <QPluginLoader>
#include <QString>

class IOManager;
class ModuleInterface;
class QWidget;
struct BackendVersions;
struct ModuleAction;

namespace simulation {

/// Loads the plug-in file, runs the module and unloads it. GUI thread only.
class HostedModule
{
public:
    HostedModule() = default;
    HostedModule(const HostedModule &) = delete;
    HostedModule &operator=(const HostedModule &) = delete;

    /// Loads \a file. Call it only while no module is loaded. Returns false and sets \a problem to a message
    /// of one line if the file is missing, cannot be loaded or is not a module of this host.
    bool load(const QString &file, QString *problem);

    /// Returns the name and the version of the loaded module.
    QString title() const;

    /// Passes the host's services to the loaded module and returns the module's actions, which are valid
    /// until end(). The three arguments must be valid until then, too.
    QList<ModuleAction *> begin(IOManager *manager, QWidget *parent, BackendVersions *versions);

    /// Shuts the loaded module down and unloads the library. Returns false and sets \a problem to a message
    /// of one line if it cannot be unloaded.
    bool end(QString *problem);

private:
    QPluginLoader m_loader;
    ModuleInterface *m_module = nullptr;
};

} // namespace simulation
