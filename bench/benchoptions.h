#pragma once

#include <QString>
#include <QStringList>

namespace bench {

/// The command line of the benchmark.
struct BenchOptions
{
    QString json;        ///< file for the table as JSON; empty: none
    QString only;        ///< part of the name of a group of rows; empty: all groups
    bool quick = false;  ///< fewer and shorter repetitions
    int soakSeconds = 0; ///< length of the data flow in the memory rows; 0: the default
    QString probe;       ///< internal: set in the child process that the memory rows measure

    /// \a usual repetitions, or a third of them in a quick run.
    int repetitions(int usual) const { return quick ? (usual + 2) / 3 : usual; }
};

/// Parses the command line. Exits after --help, and with status 2 on a wrong option.
BenchOptions parseOptions(const QStringList &arguments);

} // namespace bench
