#pragma once

#include <QByteArray>
#include <QMetaType>

namespace simulation {

/// The results of queries and commands; docs/protocol.md describes them. A refused command changes nothing.
enum CommandResult : int
{
    Accepted = 0,
    NotUnderstood = 1, ///< unknown, malformed, or not supported by the Controller's version
    OutOfRange = 2,    ///< well-formed, but with a value that the Controller does not accept
    Locked = 3,        ///< the configuration is locked
    Failed = -1,       ///< any other reason
    NotConnected = -2, ///< there is no connection to the Controller
    TimedOut = -3      ///< the Controller did not answer
};

/// Answers queries and executes commands: a Controller in this process or on the network.
class Controller
{
public:
    /// Answers the query \a text. Returns a CommandResult. Writes \a answer if the result is Accepted. A
    /// simulated fault may write \a answer and return another result. May block until the answer has arrived.
    virtual int query(const QByteArray &text, QByteArray *answer) = 0;

    /// Executes the command \a text. Returns a CommandResult. May block until the command is executed.
    virtual int command(const QByteArray &text) = 0;

protected:
    ~Controller() = default;
};

/// One query or command with its outcome.
struct Exchange
{
    enum class Kind
    {
        Query,
        Command
    };

    Kind kind = Kind::Query;
    QByteArray text;
    QByteArray answer; ///< queries only
    int result = Accepted;
};

} // namespace simulation

Q_DECLARE_METATYPE(simulation::Exchange)
