#pragma once

#include <QList>
#include <QPluginLoader>
#include <QString>

class IOManager;
class ModuleInterface;
class QWidget;
struct BackendVersions;
struct ModuleAction;

/// The module as a plug-in file, through its whole life. GUI thread.
class HostedModule
{
public:
    HostedModule() = default;
    HostedModule(const HostedModule &) = delete;
    HostedModule &operator=(const HostedModule &) = delete;

    /// Loads \a file. False if it is missing or no module of this host; \a problem then tells why, in one
    /// line.
    bool load(const QString &file, QString *problem);

    /// The file that was loaded last.
    QString file() const { return m_loader.fileName(); }

    /// Name and version as the module tells them.
    QString title() const;

    /// Hands the services to the module and returns its actions, which stay valid until end().
    QList<ModuleAction *> begin(IOManager *manager, QWidget *parent, BackendVersions *versions);

    /// Shuts the module down and unloads the library. False if it stays in memory all the same; \a problem
    /// then tells why, in one line.
    bool end(QString *problem);

private:
    QPluginLoader m_loader;
    ModuleInterface *m_module = nullptr;
};
