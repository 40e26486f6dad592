#pragma once

#include "controllerlink.h"
#include "moduleaction.h"
#include "moduleinterface.h"
#include "simulatedcontroller.h"

#include <QFile>
#include <QPluginLoader>
#include <QVariant>
#include <QWidget>

using namespace simulation;

/// Returns whether the library of the plug-in is in this process's memory.
inline bool isPluginMapped()
{
    QFile maps(QLatin1String("/proc/self/maps"));
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("NetworkSettings2GModule");
}

/// A link that remembers the requester that was added last.
class ObservedLink : public ControllerLink
{
public:
    using ControllerLink::ControllerLink;

    int addRequester(Requester *requester) override
    {
        lastRequester = requester;
        return ControllerLink::addRequester(requester);
    }

    Requester *lastRequester = nullptr;
};

/// A host that loads the plug-in file and is connected to a simulated Controller.
struct PluginHost
{
    PluginHost()
    {
        // With its default hints, Qt keeps a plug-in mapped after unload(). A use of the module's code after
        // unload() would then go unnoticed.
        loader.setLoadHints(QLibrary::ResolveAllSymbolsHint);
        module = qobject_cast<ModuleInterface *>(loader.instance());
    }

    /// Sets all parameters of the module except ObserverMode. BackendVersions is the Controller's version at
    /// the time of this call.
    void handOver()
    {
        versions = controller.state().version;
        module->setParameter(QLatin1String("ModuleParent"), QVariant::fromValue(&window));
        module->setParameter(QLatin1String("CommandManager"), QVariant::fromValue<IOManager *>(&link));
        module->setParameter(QLatin1String("BackendVersions"), QVariant::fromValue(&versions));
    }

    void shutDown() const
    {
        module->prepareShutdown();
        module->releaseResources();
    }

    SimulatedController controller;
    ObservedLink link{controller};
    BackendVersions versions{};
    QWidget window;
    QPluginLoader loader{QLatin1String(PLUGIN_PATH)};
    ModuleInterface *module = nullptr; ///< stays null if the plug-in cannot be loaded
};
