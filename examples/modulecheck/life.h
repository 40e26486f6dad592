#pragma once

#include "checkhost.h"

#include <networksettings2g/moduleaction.h>
#include <networksettings2g/moduleinterface.h>

#include <QMainWindow>
#include <QPluginLoader>
#include <QUdpSocket>

#include <memory>

/// Prints each step with its faults and stores whether a step has failed.
class Report
{
public:
    void step(const char *text, bool good, const QStringList &faults);
    bool isGood() const { return m_good; }

private:
    bool m_good = true;
};

/// One life cycle of the module: the plug-in file, which the constructor loads, the host's services and
/// window, a socket that receives the module's datagrams, and the steps that the life cycles have in common.
/// GUI thread only.
class Life
{
public:
    Life(const QString &file, Report *report);
    ~Life();
    Life(const Life &) = delete;
    Life &operator=(const Life &) = delete;

    /// Reports the step that \a text describes as an instruction for a host. The step has failed if \a good
    /// is false or if CheckHost has recorded a fault of the module since the previous step.
    void step(const char *text, bool good);

    /// Returns the module; null if the file is not a plug-in with the interface of a module, and after
    /// unload().
    ModuleInterface *module() const { return m_module; }
    QString file() const { return m_loader.fileName(); }
    /// Returns why the file could not be loaded, or an empty text if it was loaded.
    QString error() const { return m_loader.isLoaded() ? QString() : m_loader.errorString(); }
    Report *report() const { return m_report; }

    /// Passes one parameter to the module: 0 is "CommandManager", 1 is "ModuleParent", 2 is
    /// "BackendVersions", 3 is "ObserverMode" with the value false.
    void setParameter(int index);

    /// Calls moduleActions() and adds the action to a new menu with the title that the module gives. Returns
    /// null if there is not exactly one action.
    QAction *takeAction();

    /// Passes all parameters, then calls takeAction(). Reports both as steps.
    void begin();

    // Each of these reports a step and checks that the module leaves nothing behind.
    void prepareShutdown();
    void releaseResources();
    void unload();

    /// Calls prepareShutdown() and releaseResources().
    void shutDown();

    /// Calls shutDown() and unload().
    void end();

    CheckHost host;
    std::unique_ptr<QMainWindow> window = std::make_unique<QMainWindow>();
    QUdpSocket receiver; ///< receives the datagrams of channel 1

private:
    Report *m_report;
    QPluginLoader m_loader;
    ModuleInterface *m_module = nullptr;
    int m_threadsBefore;
};
