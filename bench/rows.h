#pragma once

#include <QString>

namespace bench {

struct BenchOptions;
class Receivers;
class Report;

// The groups of rows. Each function adds one group to the report. Where a row compares two measurements, the
// two are made alternately. Usually the second measurement is that of a limit: a minimal implementation of
// the same work.

/// Adds the CPU time and the latency of the streams that decisions rest on. With --against, compares with the
/// other plug-in instead of with the limits.
void addPacedRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Adds the same for datagrams of 1 to 60 KB to 2, 5 and 10 channels.
void addSizeRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Adds how onOutputData() and the opening of the dialog scale with the number of types and of ticks.
void addScalingRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Adds the memory per channel, and the memory growth and the page faults of a process that forwards data to
/// ten channels.
void addMemoryRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// The main function of the processes that addMemoryRows() starts with the option --probe: measures and
/// prints the memory. Returns the exit status, which is 1 if no datagram arrives.
int probeMemory(QString options, const Receivers &receivers);

} // namespace bench
