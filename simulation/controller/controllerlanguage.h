#pragma once

#include "controllerstate.h"

/// Results of the Controller's language. Everything but Taken is a refusal, with nothing changed.
enum ControllerResult : int
{
    Taken = 0,
    NotUnderstood = 1, ///< unknown or malformed, or newer than the Controller's version
    OutOfRange = 2,    ///< well-formed, but with a value that the Controller does not have or take
    Locked = 3         ///< configuration changes are refused at the moment
};

/// Answers the query \a text from \a state. \a answer is written only on success.
int answerQuery(const ControllerState &state, const QByteArray &text, QByteArray *answer);

/// Carries out the command \a text on \a state.
int carryOutCommand(ControllerState &state, const QByteArray &text);
