#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QtPlugin>

struct ModuleAction;

/// The interface through which the host uses a module. The host calls all functions on the GUI thread, in
/// this order: setParameter() for every parameter, moduleActions(), then at the end prepareShutdown() and
/// releaseResources(). The order of the functions is part of the binary interface between host and module.
class ModuleInterface
{
public:
    virtual ~ModuleInterface() = default;

    /// Stops routing, releases the requested output types and removes the module's Requester and
    /// MessageReceiver. Afterwards the module does not call the host any more. May be called at any time,
    /// also from within a command of the module.
    virtual void prepareShutdown() = 0;

    /// Destroys everything that the module has created. When it returns, no thread of the module runs and no
    /// object of the module waits for the event loop: the host may unload the library in the next statement.
    /// If the host calls it from within a command of the module, this holds when the function of the module
    /// that sent the command has returned to the host.
    virtual void releaseResources() = 0;

    /// Returns the module's name for the user.
    virtual QString moduleName() = 0;

    /// Returns the module's version for the user, such as "v1.0.0".
    virtual QString moduleVersion() = 0;

    /// Returns the actions for the host's menus; the first call creates them. The module owns the entries.
    virtual QList<ModuleAction *> moduleActions() = 0;

    /// Passes a service of the host to the module. Keys: "CommandManager" (IOManager *), "ModuleParent"
    /// (QWidget *), "BackendVersions" (BackendVersions *), "ObserverMode" (bool). Any other key is ignored.
    virtual void setParameter(QString key, QVariant value) = 0;
};

Q_DECLARE_INTERFACE(ModuleInterface, "io.kelmora-sys.orvane2.gui.Module/0.2.0")
