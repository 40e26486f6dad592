#pragma once

#include <QString>

namespace bench {

struct BenchOptions;
class Receivers;

/// Resident memory of a fresh process, in KiB.
struct Residency
{
    double start = 0;      ///< after the first second of the data flow, or at the start if there is none
    double startInUse = 0; ///< as start, after malloc_trim() has released free pages to the system
    double end = 0;        ///< after the data flow
    double endInUse = 0;   ///< as end, after malloc_trim()
};

/// What to run in a measured process.
struct Probe
{
    QString what; ///< "module" or "handoff"
    int channels = 0;
    int seconds = 0; ///< duration of the data flow; 0: no data
};

/// Runs \a probe in a new process and stores what it reports. Returns false on failure.
bool startProbe(const Probe &probe, Residency *residency);

/// The main function of the process that startProbe() runs: measures and prints the residency. Returns the
/// exit status.
int probeResidency(const BenchOptions &options, const Receivers &receivers);

} // namespace bench
