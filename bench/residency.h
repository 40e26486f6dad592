#pragma once

#include <QString>

namespace bench {

struct BenchOptions;
class Receivers;

/// Resident memory of a fresh process, in KiB.
struct Residency
{
    double start = 0;      ///< in the steady state
    double startInUse = 0; ///< the same after free pages were released to the system
    double end = 0;        ///< after the data flow
    double endInUse = 0;
};

/// What to run in a measured process: "module" or "handoff", with this many channels, and data for this many
/// seconds (0: none).
struct Probe
{
    QString what;
    int channels = 0;
    int seconds = 0;
};

/// Runs \a probe in a new process and stores what it reports. Returns false on failure.
bool startProbe(const Probe &probe, Residency *residency);

/// Runs in such a process. Returns its exit status.
int probeResidency(const BenchOptions &options, const Receivers &receivers);

} // namespace bench
