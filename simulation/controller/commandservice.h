#pragma once

#include <QByteArray>

namespace simulation {

/// Answers queries and executes commands of the Controller's language, in this process or over a network.
/// Implementations are thread-safe. Both functions may block until the Controller has answered.
class CommandService
{
public:
    /// Results of a service that did not get an answer from its Controller.
    enum Failure : int
    {
        NotConnected = -2,
        TimedOut = -3
    };

    /// Answers the query \a text. Returns 0 and writes \a answer, or returns one of the nonzero results in
    /// docs/protocol.md. A simulated fault may write \a answer and return a nonzero result.
    virtual int query(const QByteArray &text, QByteArray *answer) = 0;

    /// Executes the command \a text. Returns 0, or a nonzero result as query() does.
    virtual int command(const QByteArray &text) = 0;

protected:
    ~CommandService() = default;
};

} // namespace simulation
