#pragma once

#include "life.h"

#include <vector>

/// A life cycle that a host may lead the module through. \a run gets the plug-in freshly loaded.
struct Cycle
{
    const char *name;
    const char *title;
    void (*run)(Life &life);
};

// Orders of the calls
void loadOnly(Life &life);
void ordinaryLife(Life &life);
void parametersInAnyOrder(Life &life);
void observerMode(Life &life);
void actionsTwice(Life &life);
void releaseBeforeActions(Life &life);
void secondDialog(Life &life);
void oldController(Life &life);

// The dialog
void dialogOpenedAndClosed(Life &life);
void refusedCommands(Life &life);
void shutdownWithDialogOpen(Life &life);
void shutdownWithMessageBoxOpen(Life &life);
void parentDestroyedFirst(Life &life);
void eventLoopInQueries(Life &life);

// Data and messages
void messageOnAnotherThread(Life &life);
void dataOnFourThreads(Life &life);
