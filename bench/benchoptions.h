#pragma once

#include <QString>
#include <QStringList>

/// What the person who runs the benchmarks wants.
struct BenchOptions
{
    QString json;        ///< file for the table as JSON; empty for none
    QString only;        ///< a word that the name of a family of rows holds; empty for all
    bool quick = false;  ///< fewer and shorter repetitions
    int soakSeconds = 0; ///< how long data flows in the rows of memory; 0 for some seconds
    QString probe;       ///< hidden: this process is one that a row of memory looks into

    /// Repetitions, of which a quick run makes a third.
    int repetitions(int usual) const { return quick ? (usual + 2) / 3 : usual; }
};

/// Reads the command line. Ends the process after --help, and with status 2 after a wrong option.
BenchOptions parseOptions(const QStringList &arguments);
