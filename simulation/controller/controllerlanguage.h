#pragma once

#include "controllerstate.h"

namespace simulation {

/// Results of queries and commands. All but Accepted are refusals: a refused command changes nothing.
enum ControllerResult : int
{
    Accepted = 0,
    NotUnderstood = 1, ///< unknown, malformed, or not supported by the Controller's version
    OutOfRange = 2,    ///< well-formed, but with a value that the Controller does not accept
    Locked = 3         ///< the configuration is locked
};

/// Answers the query \a text from \a state. Returns a ControllerResult. Writes \a answer only if the result
/// is Accepted.
int answerQuery(const ControllerState &state, const QByteArray &text, QByteArray *answer);

/// Executes the command \a text on \a state. Returns a ControllerResult.
int executeCommand(ControllerState &state, const QByteArray &text);

} // namespace simulation
