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

inline bool isPluginMapped()
{
    QFile maps(QLatin1String("/proc/self/maps"));
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("NetworkSettings2GModule");
}

/// A link that tells whom it serves.
class OpenLink : public ControllerLink
{
public:
    using ControllerLink::ControllerLink;

    int addRequester(Requester *requester) override
    {
        served = requester;
        return ControllerLink::addRequester(requester);
    }

    Requester *served = nullptr;
};

/// A host around the plug-in file, against a simulated Controller.
struct PluginHost
{
    PluginHost()
    {
        // By default Qt keeps a plug-in mapped after unload(), which would hide what is left of it.
        loader.setLoadHints(QLibrary::ResolveAllSymbolsHint);
        module = qobject_cast<ModuleInterface *>(loader.instance());
    }

    /// Hands the services over, the Controller's version as it is now. ObserverMode is left as it is.
    void handOver()
    {
        versions = controller.state().version;
        module->setParameter(QLatin1String("ModuleParent"), QVariant::fromValue(&window));
        module->setParameter(QLatin1String("CommandManager"), QVariant::fromValue<IOManager *>(&link));
        module->setParameter(QLatin1String("BackendVersions"), QVariant::fromValue(&versions));
    }

    SimulatedController controller;
    OpenLink link{controller};
    BackendVersions versions{};
    QWidget window;
    QPluginLoader loader{QLatin1String(PLUGIN_PATH)};
    ModuleInterface *module = nullptr;
};
