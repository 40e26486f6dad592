#pragma once

#include <QString>
#include <QStringList>

namespace bench {

/// The options of the benchmark's command line, which script/bench explains.
struct BenchOptions
{
    QString json;        ///< file for the table as JSON; empty: none
    QStringList only;    ///< measure these groups of rows; empty: the usual ones
    bool quick = false;  ///< a third of the repetitions, and a shorter data flow in the group memory
    int soakSeconds = 0; ///< duration of the data flow in the group memory; 0: the default
    QString against; ///< plug-in file with which the built one is compared; empty: compare with the limits
    QString probe;   ///< internal: what a child process of the memory rows measures; see probeMemory()

    /// Returns \a usual, or, in a quick run, a third of it, rounded up.
    int repetitions(int usual) const { return quick ? (usual + 2) / 3 : usual; }
};

/// Parses the command line. Exits with status 2 if an argument is invalid.
BenchOptions parseOptions(const QStringList &arguments);

} // namespace bench
