#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QtPlugin>

struct ModuleAction;

/// The interface through which the host uses a module. The host calls all functions on the GUI thread, in
/// this order: setParameter() for every parameter, moduleActions(), then at the end prepareShutdown() and
/// releaseResources(). It may call moduleName() and moduleVersion() at any time. The order of the functions
/// is part of the binary interface between host and module.
class ModuleInterface
{
public:
    virtual ~ModuleInterface() = default;

    /// Ends all calls of the module to the host: stops routing, releases the requested output types, and
    /// removes the module's Requester and MessageReceiver. Closes open message boxes. Blocks for about 10 ms
    /// per channel, and for at most 100 ms more for each channel that is sending.
    /// Note: May be called at any time, even from within a command of the module.
    virtual void prepareShutdown() = 0;

    /// Destroys the dialog with its channels, and invalidates the entries that moduleActions() has returned.
    /// Blocks until the threads of the module have ended, at most 100 ms for each. If no function of the
    /// module is on the call stack, the host may unload the library at once: no object of the module is left
    /// for the event loop to delete.
    /// Note: If a function of the module, such as the dialog's event loop, is on the call stack, the host
    /// must let it return before it unloads the library. If that function has sent a command that is in
    /// progress, the dialog and its threads exist until then.
    virtual void releaseResources() = 0;

    /// Returns the module's name for the user.
    virtual QString moduleName() = 0;

    /// Returns the module's version for the user, such as "v1.0.0".
    virtual QString moduleVersion() = 0;

    /// Returns the actions for the host's menus, or an empty list in observer mode. The module owns the
    /// entries. The first call creates the dialog and the action. It blocks: it queries the Controller,
    /// registers the module's Requester and MessageReceiver and, in router mode, starts routing.
    /// Note: After releaseResources(), the next call is a first call again.
    /// Note: Returns an empty list if the host calls it during the first call, or if the host calls
    /// releaseResources() during the first call.
    virtual QList<ModuleAction *> moduleActions() = 0;

    /// Stores a parameter. \a value must hold exactly the type of \a key, and a pointer must not be null:
    ///
    /// | Key               | Type              | Meaning                                                 |
    /// |-------------------|-------------------|---------------------------------------------------------|
    /// | "CommandManager"  | IOManager *       | the host's command service                              |
    /// | "ModuleParent"    | QWidget *         | the parent of the dialog                                |
    /// | "BackendVersions" | BackendVersions * | the version of the Controller                           |
    /// | "ObserverMode"    | bool              | if true, moduleActions() creates nothing; default false |
    ///
    /// The host keeps ownership of the objects. It must keep the IOManager and the BackendVersions until
    /// releaseResources() and every other function of the module have returned. The parent may go earlier,
    /// after prepareShutdown(); the dialog is then destroyed with it.
    /// Note: Any other key is ignored.
    virtual void setParameter(QString key, QVariant value) = 0;
};

Q_DECLARE_INTERFACE(ModuleInterface, "io.kelmora-sys.orvane2.gui.Module/0.2.0")
