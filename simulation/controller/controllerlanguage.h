#pragma once

#include "controller.h"
#include "controllerstate.h"

namespace simulation {

/// Answers the query \a text from \a state. Returns a CommandResult. Writes \a answer only if the result
/// is Accepted.
int answerQuery(const ControllerState &state, const QByteArray &text, QByteArray *answer);

/// Executes the command \a text on \a state. Returns a CommandResult.
int executeCommand(ControllerState &state, const QByteArray &text);

} // namespace simulation
