#pragma once

#include "checkhost.h"

#include <networksettings2g/moduleaction.h>
#include <networksettings2g/moduleinterface.h>

#include <QMainWindow>
#include <QPluginLoader>
#include <QUdpSocket>

#include <memory>

/// Prints one line per step and remembers whether one has failed.
class Report
{
public:
    void step(const char *text, bool good, const QStringList &faults);
    bool isGood() const { return m_good; }

private:
    bool m_good = true;
};

/// One life of the module in a host: the plug-in file, loaded at construction, and all that it needs.
class Life
{
public:
    Life(const QString &file, Report *report);
    ~Life();
    Life(const Life &) = delete;
    Life &operator=(const Life &) = delete;

    /// Reports the step \a text, an instruction for the host. It has failed if \a good is false or if the
    /// host has recorded a fault of the module since the previous step.
    void step(const char *text, bool good);

    /// The module, null if the file is no plug-in with the interface of a module.
    ModuleInterface *module() const { return m_module; }
    QString file() const { return m_loader.fileName(); }
    QString error() const { return m_loader.errorString(); }
    Report *report() const { return m_report; }

    /// Passes the parameter \a index, 0 to 3.
    void setParameter(int index);

    /// Gets the action, null if there is none, and adds it to the menu.
    QAction *takeAction();

    /// Passes all parameters and gets the action. These are steps.
    void begin();

    // Steps at the end of the module's life, with a check that nothing is left. shutDown() is the first two,
    // end() all three.
    void prepareShutdown();
    void releaseResources();
    void unload();
    void shutDown();
    void end();

    /// Waits for a datagram with one complete frame that has exactly one line of each of \a types.
    bool frameArrives(const QList<QByteArray> &types);

    CheckHost host;
    std::unique_ptr<QMainWindow> window = std::make_unique<QMainWindow>();

private:
    Report *m_report;
    QUdpSocket m_receiver;
    QPluginLoader m_loader;
    ModuleInterface *m_module = nullptr;
    int m_threadsBefore;
};
