#pragma once

#include "controlleroptions.h"

namespace simulation {

/// The settings of the command line of the program `frontend`, with their defaults.
struct Options
{
    bool headless = false;
    bool dark = false;
    int seconds = 0; ///< duration of the run; 0: no limit; readOptions() sets 5 by default with --headless
    SimulationOptions simulated; ///< of the embedded Controller
    Endpoint controller;         ///< not set: the Controller is embedded
    QString plugin; ///< plug-in file; empty: the one in ../plugins, relative to this program's folder
};

/// Declares the options of the program `frontend`.
void declareOptions(CommandLine &line);

/// Reads them. Returns false if one of them is invalid.
bool readOptions(const CommandLine &line, Options *options);

} // namespace simulation
