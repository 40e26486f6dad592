#pragma once

#include <QString>

struct BenchOptions;
class Receivers;

/// Resident memory of a fresh process, in KiB.
struct Residency
{
    double start = 0;      ///< when all is in its stride
    double startInUse = 0; ///< the same after free pages were given back to the system
    double end = 0;        ///< after the data has flowed
    double endInUse = 0;
};

/// What a process is looked into for: "module" or "handoff", the number of channels, and seconds of data,
/// 0 for none.
struct Probe
{
    QString what;
    int channels = 0;
    int seconds = 0;
};

/// Starts a process for \a probe and returns what it reports; false if it fails.
bool startProbe(const Probe &probe, Residency *residency);

/// The life of such a process; its exit status.
int probeResidency(const BenchOptions &options, const Receivers &receivers);
