// The orders in which a host may call ModuleInterface.

#include "cycles.h"

#include <QAction>

#include <algorithm>
#include <array>

void loadOnly(Life &life)
{
    const bool named = !life.module()->moduleName().isEmpty() && !life.module()->moduleVersion().isEmpty();
    life.step("Read moduleName() and moduleVersion() at any time after loading.", named);
    life.unload();
}

void ordinaryLife(Life &life)
{
    life.begin();
    life.step("In router mode, expect requests for all ticked types before moduleActions() returns.",
              life.host.isRequested("fr") && life.host.isRequested("6d") && life.host.isRequested("3d"));
    life.end();
}

void parametersInAnyOrder(Life &life)
{
    life.unload();
    std::array<int, 4> order = {0, 1, 2, 3};
    bool good = true;
    do {
        Life next(life.file(), life.report());
        for (const int index : order)
            next.setParameter(index);
        const bool hasAction = next.takeAction() != nullptr;
        next.module()->prepareShutdown();
        next.module()->releaseResources();
        good = good && hasAction && next.host.takeFaults().isEmpty();
    } while (std::next_permutation(order.begin(), order.end()));
    life.step("Pass the four parameters in any of the 24 orders before moduleActions().", good);
}

void observerMode(Life &life)
{
    life.module()->setParameter(QLatin1String("ObserverMode"), true);
    for (int index = 0; index < 3; ++index)
        life.setParameter(index);
    life.step("Pass \"ObserverMode\" with the value true: moduleActions() returns an empty list.",
              life.module()->moduleActions().isEmpty());
    life.module()->prepareShutdown();
    life.module()->releaseResources();
    life.step("Expect no call of IOManager in observer mode.", life.host.callCount() == 0);
    life.unload();
}

void actionsTwice(Life &life)
{
    for (int index = 0; index < 4; ++index)
        life.setParameter(index);
    const QList<ModuleAction *> first = life.module()->moduleActions();
    const int calls = life.host.callCount();
    const QList<ModuleAction *> second = life.module()->moduleActions();
    life.step("Call moduleActions() again: it returns the same entry and sends no query.",
              first.size() == 1 && first == second && life.host.callCount() == calls);
    life.end();
}

void releaseBeforeActions(Life &life)
{
    life.module()->prepareShutdown();
    life.module()->releaseResources();
    life.step("Call prepareShutdown() and releaseResources() even if moduleActions() was never called.",
              life.host.callCount() == 0);
    life.begin();
    life.end();
}

void secondDialog(Life &life)
{
    life.begin();
    life.module()->prepareShutdown();
    life.module()->releaseResources();
    life.step("Start the module again after releaseResources(): moduleActions() creates an action again.",
              life.takeAction() != nullptr && life.host.isInUse());
    life.end();
}

void oldController(Life &life)
{
    life.host.versions = {{0, 0, 0}, 1, 3, 0};
    life.begin();
    life.step("Pass the Controller's version: below 1.4 the module does not query the router mode.",
              !life.host.isRequested("fr"));
    life.end();
}
