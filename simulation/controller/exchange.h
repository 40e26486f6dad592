#pragma once

#include <QByteArray>
#include <QMetaType>

namespace simulation {

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
    int result = 0;    ///< 0 for success
};

} // namespace simulation

Q_DECLARE_METATYPE(simulation::Exchange)
