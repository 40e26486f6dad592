#pragma once

#include "pacing.h"

#include <QString>

#include <functional>
#include <memory>

namespace bench {

class Receivers;
class Report;
class Pipeline;

using PipelineMaker = std::function<std::unique_ptr<Pipeline>()>;
using Feed = std::function<Run(Pipeline &)>;

/// Creates a pipeline, warms it up, stores the result of \a feed in \a run, and destroys the pipeline, so
/// that its threads do not exist while another pipeline is measured. Returns false if the warm-up fails, in
/// which case \a run does not change, or if no datagram arrives after the warm-up. Adds a remark that begins
/// with \a name if the warm-up fails or datagrams are lost after it.
bool measurePipeline(const QString &name, const PipelineMaker &make, const Feed &feed,
                     const Receivers &receivers, Report &report, Run *run);

/// Adds a remark if the datagrams of the two runs have different average lengths and none were lost.
void compareBytes(const QString &name, const Run &ours, const Run &limit, Report &report);

} // namespace bench
