#pragma once

struct BenchOptions;
class Receivers;
class Report;

/// The families of rows. Each measures ours and its limits in turn and adds its rows to the report.

/// Processor time a datagram and latency at a given pace.
void addPacedRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Datagrams a processor second when fed without a pace.
void addThroughputRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Time of onOutputData.
void addCallRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// How the time of onOutputData grows with types and channels.
void addGrowthRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Time until the dialog is on the screen.
void addOpeningRows(const BenchOptions &options, const Receivers &receivers, Report &report);

/// Resident memory of a channel.
void addMemoryRows(const BenchOptions &options, const Receivers &receivers, Report &report);
