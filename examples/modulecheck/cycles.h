#pragma once

#include "life.h"

#include <vector>

/// A life cycle through which a host may run the module. \a run is called after the plug-in has been loaded.
struct Cycle
{
    const char *name;  ///< on the command line
    const char *title; ///< for the user
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
