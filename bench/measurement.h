#pragma once

#include "pacing.h"

#include <QString>

#include <functional>
#include <memory>

class Receivers;
class Report;
class Road;

using RoadMaker = std::function<std::unique_ptr<Road>()>;
using Feed = std::function<Run(Road &)>;

/// Makes a road, warms it up, feeds it and takes it down again, so that its threads are not there while
/// another road is measured. What does not start or loses a datagram becomes a remark. False if there is
/// nothing to reckon with.
bool measureRoad(const QString &name, const RoadMaker &make, const Feed &feed, const Receivers &receivers,
                 Report &report, Run *run);

/// Both sides must have carried the same bytes; if not, a remark.
void compareBytes(const QString &name, const Run &ours, const Run &limit, Report &report);
