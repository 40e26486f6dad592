#pragma once

#include "controllerstate.h"

namespace simulation {

/// The texts and limits of the TCP connections between a Controller and its frontends; docs/protocol.md
/// describes them.
namespace protocol {

inline constexpr char hello[] = "hello";
inline constexpr char query[] = "get ";
inline constexpr char command[] = "set ";
inline constexpr char accepted[] = "ok";
inline constexpr char refused[] = "error ";

inline constexpr char reset[] = "#reset";
inline constexpr char idle[] = "#idle";
inline constexpr char alive[] = "#alive";
inline constexpr char state[] = "#state ";

/// The longest line of a request or an answer, in bytes, including its end.
constexpr int maximumLine = 4096;

/// The longest line on the data connection, in bytes, including its end.
constexpr int maximumDataLine = 1024 * 1024;

/// The interval at which a Controller sends "#alive".
constexpr int aliveIntervalMs = 1000;

} // namespace protocol

/// What a Controller reports in its answer to "hello".
struct Greeting
{
    BackendVersions version{};
    quint16 dataPort = 0;
};

/// Returns \a greeting as the text that follows "ok" in the answer to "hello".
QByteArray greetingText(const Greeting &greeting);

/// Parses the text that greetingText() returns. Returns false if \a text has another form or the port is 0;
/// \a greeting may then be changed in part.
bool parseGreeting(const QByteArray &text, Greeting *greeting);

/// Returns the parts of \a state that a frontend shows, as JSON without line ends.
QByteArray stateText(const ControllerState &state);

/// Sets the parts of \a state that stateText() writes. Returns false and leaves \a state unchanged if \a text
/// is not a JSON object with a version and all channels.
bool parseState(const QByteArray &text, ControllerState *state);

} // namespace simulation
