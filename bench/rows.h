#pragma once

namespace bench {

struct BenchOptions;
class Receivers;
class Report;

/// The groups of rows. Each function measures the module and its limits alternately and adds its rows to the
/// report.

/// CPU time per datagram, and latency, at a given frame rate.
void addPacedRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Datagrams per millisecond of CPU time, without pacing.
void addThroughputRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Duration of onOutputData().
void addCallRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// How the duration of onOutputData() grows with types and channels.
void addGrowthRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Time until the dialog is painted.
void addOpeningRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Resident memory per channel, and its growth while data flow.
void addMemoryRows(const BenchOptions &options, const Receivers &receivers, Report &report);

} // namespace bench
