#pragma once

#include <QByteArray>

#include <array>

/// One way in which the Controller is spoken to: what is said begins with \a opening. Texts that a command
/// and a question share are told apart by \a isCommand.
struct Phrase
{
    bool isCommand;
    const char *opening;
    const char *title; ///< for the user, not translated yet
};

constexpr int phraseCount = 17;

/// All phrases of the Controller's language, questions before commands.
const std::array<Phrase, phraseCount> &phrases();

/// The position of the phrase that \a text is said in, -1 if it is none of them.
int phraseOf(bool isCommand, const QByteArray &text);
