#pragma once

namespace bench {

struct BenchOptions;
class Receivers;
class Report;

/// The groups of rows. Each function adds one group to the report. Where a row compares two measurements, the
/// two are made alternately. Usually the second one is that of a limit: a minimal implementation of the same
/// work.

/// CPU time per datagram, and latency, at 60 and 1000 frames per second; latency also beside a stalled
/// channel.
void addPacedRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Datagrams per millisecond of CPU time, without pacing.
void addThroughputRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Duration of onOutputData().
void addCallRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// How the duration of onOutputData() grows with types and channels.
void addGrowthRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Time until the dialog is painted.
void addOpeningRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Resident memory per channel, and the growth of a process with ten channels that forwards data.
void addMemoryRows(const BenchOptions &options, const Receivers &receivers, Report &report);

} // namespace bench
