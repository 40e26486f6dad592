#pragma once

#include <QByteArray>

#include <array>

namespace simulation {

/// A kind of query or command. All its texts begin with \a opening. A query and a command may have the same
/// opening; \a isCommand distinguishes them.
struct CommandKind
{
    bool isCommand;
    const char *opening;
    const char *title; ///< for the user; callers translate it in the context "CommandKinds"
};

constexpr int commandKindCount = 17;

/// Returns all kinds, queries before commands.
const std::array<CommandKind, commandKindCount> &commandKinds();

/// Returns the position in commandKinds() of the kind to which \a text belongs, or -1 if it belongs to none.
/// \a isCommand is true for a command and false for a query.
int commandKindOf(bool isCommand, const QByteArray &text);

} // namespace simulation
