// The smallest host: it loads the module, runs it with tracking data, shuts it down and unloads it, and
// prints the result of each step. It does not open the dialog. The exit status is 0 if every step succeeded,
// otherwise 1. The optional argument is a plug-in file to load instead of the default.

#include "datathread.h"
#include "observation.h"
#include "tablemanager.h"

#include <networksettings2g/backendversions.h>
#include <networksettings2g/moduleaction.h>
#include <networksettings2g/moduleinterface.h>

#include <QAction>
#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QPluginLoader>
#include <QUdpSocket>

#include <cstdio>

namespace {

bool step(const char *name, bool good)
{
    std::printf("%s: %s\n", name, good ? "ok" : "FAILED");
    return good;
}

/// Returns the answers of a Controller in router mode with one channel that sends to \a port of 127.0.0.1.
std::map<std::string, std::string> controllerAnswers(quint16 port)
{
    return {
        {"config is_changeable", "yes"},
        {"output net_via_router", "yes"},
        {"output net ch01", "udp 127.0.0.1 " + std::to_string(port)},
        {"output net_active ch01", "yes"},
        {"output net_divisor ch01", "1"},
        {"output net chmon", "udp 127.0.0.1 5000"},
        {"output number_of_types", "2"},
        {"output type t01", "fr"},
        {"output type_desc fr", "frame counter"},
        {"output available fr", "yes"},
        {"output active ch01 fr", "yes"},
        {"output type t02", "6d"},
        {"output type_desc 6d", "standard bodies"},
        {"output available 6d", "yes"},
        {"output active ch01 6d", "yes"},
    };
}

/// Adds a third output type.
void addType(std::map<std::string, std::string> &answers)
{
    answers["output number_of_types"] = "3";
    answers["output type t03"] = "3d";
    answers["output type_desc 3d"] = "single markers";
    answers["output available 3d"] = "yes";
    answers["output active ch01 3d"] = "yes";
}

void passServices(ModuleInterface *module, TableManager &manager, QWidget &window, BackendVersions &versions)
{
    module->setParameter("CommandManager", QVariant::fromValue<IOManager *>(&manager));
    module->setParameter("ModuleParent", QVariant::fromValue<QWidget *>(&window));
    module->setParameter("BackendVersions", QVariant::fromValue(&versions));
    module->setParameter("ObserverMode", false);
}

bool takeActions(ModuleInterface *module, QMainWindow &window)
{
    const QList<ModuleAction *> actions = module->moduleActions();
    for (const ModuleAction *entry : actions) {
        window.menuBar()->addMenu(entry->menuTitle)->addAction(entry->action);
        std::printf("  action: %s, %s\n", qPrintable(entry->action->text()),
                    qPrintable(entry->action->shortcut().toString()));
    }
    return actions.size() == 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QMainWindow window;
    QUdpSocket receiver;
    if (!step("open a receiver", receiver.bind(QHostAddress(QHostAddress::LocalHost))))
        return 1;
    // manager and versions must outlive the module.
    TableManager manager;
    manager.answers = controllerAnswers(receiver.localPort());
    BackendVersions versions{{0, 0, 0}, 1, 9, 0};

    QPluginLoader loader(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString::fromUtf8(PLUGIN_FILE));
    loader.setLoadHints({}); // by default QPluginLoader never unloads the library
    auto *module = qobject_cast<ModuleInterface *>(loader.instance());
    if (!step("load", module != nullptr)) {
        std::printf("  %s\n", qPrintable(loader.errorString()));
        return 1;
    }
    std::printf("  %s %s\n", qPrintable(module->moduleName()), qPrintable(module->moduleVersion()));

    passServices(module, manager, window, versions);
    bool good = step("take the actions", takeActions(module, window));
    good &= step("types are requested", manager.isRequested("fr") && manager.isRequested("6d"));

    // Data flow during all further steps, as in a real host.
    DataThread data(manager, {"fr", "6d", "3d"});
    good &= step("a frame arrives", frameArrives(receiver, {"fr", "6d"}));

    addType(manager.answers);
    manager.sendMessage("OutputTypesChanged");
    good &= step("the new type is requested", manager.isRequested("3d"));
    good &= step("a frame with the new type arrives", frameArrives(receiver, {"fr", "6d", "3d"}));

    module->prepareShutdown();
    good &= step("nothing is registered any more", !manager.isInUse());
    module->releaseResources();
    good &= step("unload", loader.unload() && !isInMemory(loader.fileName()));
    return good ? 0 : 1;
}
