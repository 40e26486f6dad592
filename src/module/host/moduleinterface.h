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

    /// Stops routing, releases the requested output types, removes the module's Requester and MessageReceiver
    /// and closes open message boxes. Afterwards the module does not call the host any more. May be called at
    /// any time, also from within a command of the module. Blocks for about 10 ms per channel, and for at
    /// most 100 ms more for each channel that is sending.
    virtual void prepareShutdown() = 0;

    /// Destroys the dialog with its channels, and invalidates the entries that moduleActions() has returned.
    /// Blocks until the threads of the module have ended, at most 100 ms for each. Afterwards no object of
    /// the module is left for the event loop to delete. The host may unload the library at once, unless a
    /// function of the module, such as the dialog's event loop, is still on the call stack.
    ///
    /// If the host calls this function from within a command of the module, the dialog and its threads exist
    /// until the function of the module that sent the command has returned to the host.
    virtual void releaseResources() = 0;

    /// Returns the module's name for the user.
    virtual QString moduleName() = 0;

    /// Returns the module's version for the user, such as "v1.0.0".
    virtual QString moduleVersion() = 0;

    /// Returns the actions for the host's menus. The module owns the entries. The first call, also the first
    /// one after releaseResources(), creates the dialog and the action. This call blocks: it queries the
    /// Controller, registers the module's Requester and MessageReceiver and, in router mode, starts routing.
    /// Returns an empty list in observer mode. A call from within a command of the first call returns an
    /// empty list, too. So does the first call itself if the host calls releaseResources() within it.
    virtual QList<ModuleAction *> moduleActions() = 0;

    /// Stores a parameter. Keys: "CommandManager" (IOManager *), "ModuleParent" (QWidget *, the parent of the
    /// dialog), "BackendVersions" (BackendVersions *), "ObserverMode" (bool, false by default; true makes
    /// moduleActions() create nothing). Any other key is ignored. \a value must hold a pointer as exactly the
    /// named type, and the pointer must not be null. The host keeps ownership of the objects.
    /// The IOManager and the BackendVersions must exist until releaseResources() has returned. If a function
    /// of the module is then still on the call stack, the BackendVersions must exist until that function has
    /// returned, too. If the host destroys the parent before releaseResources(), the dialog is destroyed with
    /// it; the host must call prepareShutdown() before that.
    virtual void setParameter(QString key, QVariant value) = 0;
};

Q_DECLARE_INTERFACE(ModuleInterface, "io.kelmora-sys.orvane2.gui.Module/0.2.0")
