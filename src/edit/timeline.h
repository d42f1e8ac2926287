// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

#include "base/interval.h"
#include "model/project_settings.h"

// Which source time survives the edit, and how a time of the edited video maps to it. All times in seconds.
//
//   source   |---trimmed---|#######|--cut--|####|--cut--|##########|---trimmed---|
//   output                 |#######|####|##########|

namespace lumivastor::edit {

/// The range of source time that trimming keeps, before any cuts.
struct TrimRange {
    double start = 0, end = 0;

    bool operator==(const TrimRange&) const = default;
};

/// The trimming in force on a recording of `duration` seconds, never before its beginning. At least half a second
/// before the end stays, whatever the settings say (all of it where the recording is shorter).
TrimRange effectiveTrim(const model::ProjectSettings& settings, double duration);

/// What cuts leave of the trimmed range, in time order, disjoint and not empty. Pieces of 0.001 s or
/// less are dropped.
std::vector<Interval> keptSegments(const TrimRange& trim, std::vector<model::CutRange> cuts);

/// Length of the edited video.
double outputDuration(std::span<const Interval> segments);

/// The source time at output time `t`. Past the end the last segment's end; `t` itself without segments. A movie that
/// shows the segments rounds their bounds to its clock: what it shows at `t` is told by `shownSourceTime` of
/// render/cut_composition.h.
double sourceTime(std::span<const Interval> segments, double t);

}  // namespace lumivastor::edit
