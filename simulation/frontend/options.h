#pragma once

#include "backendversions.h"

#include <QString>
#include <QStringList>

/// Frames a second that a session can give out at most.
constexpr int maximumRate = 2000;

/// What the command line asks for.
struct Options
{
    bool help = false;
    bool headless = false;
    bool dark = false;
    int seconds = 0; ///< 0: until the user ends it
    int rate = 60;   ///< frames a second
    int channels = 3;
    BackendVersions version = {{0, 0, 0}, 1, 9, 0};
    bool locked = false;
    bool router = false;
    QString replay; ///< file of recorded lines, "-" for standard input; empty: made-up frames
    QString plugin; ///< plug-in file; empty: the one beside this program
};

/// Reads the command line \a arguments, the program's name first. False if something is wrong with it; \a
/// problem then tells what, in one line.
bool parseOptions(const QStringList &arguments, Options *options, QString *problem);

/// The text for "--help".
QString helpText();
