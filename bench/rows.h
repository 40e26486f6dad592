#pragma once

namespace bench {

struct BenchOptions;
class Receivers;
class Report;

// The groups of rows. Each function adds one group to the report. Where a row compares two measurements, the
// two are made alternately. Usually the second measurement is that of a limit: a minimal implementation of
// the same work.

/// Adds the CPU time per datagram and the latency at 60 and 1000 frames per second, the latency of nine
/// channels while the tenth is stalled, and the CPU time without pacing. With --against, compares with the
/// other plug-in instead of with the limits.
void addPacedRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Adds the CPU time and the latency for datagrams of 1 to 60 KB to 2, 5 and 10 channels.
void addSizeRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Adds the duration of onOutputData() for ten channels, for one and for none.
void addCallRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Adds how the duration of onOutputData() grows with the numbers of types and of channels.
void addGrowthRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Adds the time until the dialog has read its last answer, and the time until it is painted.
void addOpeningRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Adds the resident memory per channel, and the memory growth of a process that forwards data to ten
/// channels.
void addMemoryRows(const BenchOptions &options, const Receivers &receivers, Report &report);

} // namespace bench
