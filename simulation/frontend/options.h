#pragma once

#include "backendversions.h"
#include "optionreader.h"

#include <QString>
#include <QStringList>

namespace simulation {

/// The settings of the command line, with their defaults.
struct Options
{
    bool help = false;
    bool version = false;
    bool headless = false;
    bool dark = false;
    int seconds = 0;  ///< duration of the run; 0: no limit; parseOptions() sets 5 by default with --headless
    int rate = 60;    ///< frames per second
    int channels = 3; ///< number of channels to set up
    BackendVersions controllerVersion = {{0, 0, 0}, 1, 9, 0};
    bool locked = false; ///< lock the configuration
    bool router = false; ///< start in router mode
    int answerDelayMs = 0;
    Endpoint controller; ///< not set: the Controller is embedded
    QString replay;      ///< file of recorded lines, "-" for standard input; empty: synthetic frames
    QString plugin;      ///< plug-in file; empty: the one in ../plugins, relative to this program's folder
};

/// Parses the command line \a arguments, which begin with the program's name. Returns false and sets
/// \a problem to a message of one line if they are invalid.
bool parseOptions(const QStringList &arguments, Options *options, QString *problem);

/// Returns the text for "--help".
QString helpText();

} // namespace simulation
