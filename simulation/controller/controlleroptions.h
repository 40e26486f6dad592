#pragma once

#include "commandline.h"
#include "controllerstate.h"

#include <QHostAddress>

namespace simulation {

/// The highest rate, in frames per second.
constexpr int maximumRate = 2000;

/// The longest answer delay. It is shorter than the time that a frontend waits for an answer.
constexpr int maximumAnswerDelayMs = 2000;

constexpr int maximumPort = 65535;

/// The settings of the simulated Controller and its data on the command lines of the programs `controller`
/// and `frontend`.
struct SimulationOptions
{
    BackendVersions version = defaultControllerState().version;
    bool locked = false;
    bool router = false;
    int channels = 3; ///< how many channels are set up
    int rate = 60;    ///< frames per second
    QString replay;   ///< file of recorded lines, "-" for standard input; empty: synthetic frames
    int answerDelayMs = 0;

    static void declare(CommandLine &line);

    /// Reads the declared options. Returns false if one of them is invalid.
    bool read(const CommandLine &line);

    /// Returns the first declared option that is set, or an empty text.
    static QString firstSet(const CommandLine &line);

    /// Sets version, lock and router mode. A version without router mode leaves it off.
    void applyTo(ControllerState &state) const;
};

/// The settings of the command line of the program `controller`.
struct ControllerOptions
{
    QHostAddress address = QHostAddress(QHostAddress::LocalHost);
    int port = 5600;     ///< 0: any free port
    int dataPort = 5601; ///< 0: any free port
    SimulationOptions simulated;
    int seconds = 0; ///< 0: until interrupted
};

/// Declares the options of the program `controller`.
void declareControllerOptions(CommandLine &line);

/// Reads them. Returns false if one of them is invalid.
bool readControllerOptions(const CommandLine &line, ControllerOptions *options);

} // namespace simulation
