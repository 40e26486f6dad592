#pragma once

#include <QString>

namespace bench {

struct BenchOptions;
class Receivers;

/// Resident memory of a new process, in KiB.
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
    QString what;     ///< "module" or "handoff"
    int channels = 0; ///< 1 to 10
    int seconds = 0;  ///< duration of the data flow; 0: no data, and the module is not in router mode
};

/// Runs \a probe in a new process, waits until it ends, and stores what it reports. Returns false if it fails
/// or takes 30 s longer than the data flow.
bool runProbe(const Probe &probe, Residency *residency);

/// The main function of the process that runProbe() starts: measures and prints the residency. Returns the
/// exit status, which is 1 if a data flow is wanted but the warm-up fails or no datagram arrives in its first
/// second.
int probeResidency(const BenchOptions &options, const Receivers &receivers);

} // namespace bench
