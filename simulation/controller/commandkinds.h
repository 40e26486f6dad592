#pragma once

#include <QByteArray>

#include <array>

namespace simulation {

/// A kind of query or command: its texts begin with \a opening. A query and a command may share an opening;
/// \a isCommand distinguishes them.
struct CommandKind
{
    bool isCommand;
    const char *opening;
    const char *title; ///< shown to the user; to be translated
};

constexpr int commandKindCount = 17;

/// Returns all kinds, queries before commands.
const std::array<CommandKind, commandKindCount> &commandKinds();

/// Returns the position of the kind of \a text in commandKinds(), or -1.
int commandKindOf(bool isCommand, const QByteArray &text);

} // namespace simulation
