#pragma once

#include "backendversions.h"
#include "optionreader.h"

#include <QString>
#include <QStringList>

namespace simulation {

/// The settings of the command line.
struct Options
{
    bool help = false;
    bool version = false;
    bool headless = false;
    bool dark = false;
    int seconds = 0; ///< 0: until the user quits
    int rate = 60;   ///< frames per second
    int channels = 3;
    BackendVersions controllerVersion = {{0, 0, 0}, 1, 9, 0};
    bool locked = false;
    bool router = false;
    int answerDelayMs = 0;
    Endpoint controller; ///< not set: the Controller is embedded
    QString replay;      ///< file of recorded lines, "-" for standard input; empty: synthetic frames
    QString plugin;      ///< plug-in file; empty: the one in ../plugins, relative to this program's folder
};

/// Parses the command line \a arguments, which begin with the program's name. Returns false and sets \a
/// problem to a message of one line if they are invalid.
bool parseOptions(const QStringList &arguments, Options *options, QString *problem);

/// Returns the text for "--help".
QString helpText();

} // namespace simulation
