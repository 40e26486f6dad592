#pragma once

#include "backendversions.h"

#include <QString>
#include <QStringList>

namespace simulation {

/// The highest rate, in frames per second.
constexpr int maximumRate = 2000;

/// The longest answer delay. It is shorter than the time that a frontend waits for an answer.
constexpr int maximumAnswerDelayMs = 2000;

/// The port of the commands if the command line gives none.
constexpr int defaultControllerPort = 5600;

/// The settings of the command line of the program `controller`.
struct ControllerOptions
{
    bool help = false;
    bool version = false;
    QString address = QLatin1String("127.0.0.1");
    int port = defaultControllerPort;
    int dataPort = -1; ///< -1: port + 1, or any free port if port is 0; 0: any free port
    int channels = 3;  ///< how many channels are set up
    int rate = 60;     ///< frames per second
    BackendVersions controllerVersion = {{0, 0, 0}, 1, 9, 0};
    bool locked = false;
    bool router = false;
    QString replay; ///< file of recorded lines, "-" for standard input; empty: synthetic frames
    int answerDelayMs = 0;
    double refusalProbability = 0.0;
    int seconds = 0; ///< 0: until interrupted
};

/// Parses the command line \a arguments, which begin with the program's name. Returns false and sets \a
/// problem to a message of one line if they are invalid.
bool parseControllerOptions(const QStringList &arguments, ControllerOptions *options, QString *problem);

/// Returns the text for "--help".
QString controllerHelpText();

} // namespace simulation
