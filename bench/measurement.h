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

/// Creates a pipeline, warms it up, feeds it and destroys it, so that its threads do not exist while another
/// pipeline is measured. Adds a remark if datagrams are lost. Returns false if no datagram has arrived.
bool measurePipeline(const QString &name, const PipelineMaker &make, const Feed &feed,
                     const Receivers &receivers, Report &report, Run *run);

/// Adds a remark if the two runs have sent different numbers of bytes per datagram.
void compareBytes(const QString &name, const Run &ours, const Run &limit, Report &report);

} // namespace bench
