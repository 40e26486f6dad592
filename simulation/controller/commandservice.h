#pragma once

#include <QByteArray>

namespace simulation {

/// Answers queries and executes commands of the Controller's language, in this process or over a network.
/// Implementations are thread-safe.
class CommandService
{
public:
    /// Results of a service that did not get an answer from its Controller.
    enum Failure : int
    {
        NotConnected = -2,
        TimedOut = -3
    };

    /// Answers \a text. Returns 0 and writes \a answer, or returns a nonzero result. A simulated fault may
    /// write \a answer and return a nonzero result.
    virtual int query(const QByteArray &text, QByteArray *answer) = 0;

    /// Executes \a text. Returns 0 or a nonzero result.
    virtual int command(const QByteArray &text) = 0;

protected:
    ~CommandService() = default;
};

} // namespace simulation
