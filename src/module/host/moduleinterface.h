#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QtPlugin>

struct ModuleAction;

/// What a module of the frontend is to its host. All calls come on the GUI thread, in this order:
/// setParameter() for every parameter, moduleActions(), then at the end prepareShutdown() and
/// releaseResources(). The order of the functions is the binary boundary with the host.
class ModuleInterface
{
public:
    virtual ~ModuleInterface() = default;

    /// Ends all dealings of the module with the host: routing stops, requests are released, receivers
    /// removed.
    virtual void prepareShutdown() = 0;

    /// Destroys what the module has made. When it returns, no thread of the module runs and nothing of it
    /// waits for the event loop: the host may unload the library in the next statement.
    virtual void releaseResources() = 0;

    /// The module's name for the user.
    virtual QString moduleName() = 0;

    /// The module's version for the user, such as "v1.0.0".
    virtual QString moduleVersion() = 0;

    /// The actions for the host's menus, made at the first call. The entries belong to the module.
    virtual QList<ModuleAction *> moduleActions() = 0;

    /// Hands a service of the host to the module. Keys: "CommandManager" (IOManager *), "ModuleParent"
    /// (QWidget *), "BackendVersions" (BackendVersions *), "ObserverMode" (bool). Any other key is ignored.
    virtual void setParameter(QString key, QVariant value) = 0;
};

Q_DECLARE_INTERFACE(ModuleInterface, "io.kelmora-sys.orvane2.gui.Module/0.2.0")
