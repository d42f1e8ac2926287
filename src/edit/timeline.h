// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "base/interval.h"
#include "model/project_settings.h"

// Which source times the edit keeps, and how times of the edited video map to them. All times in seconds.
//
//   source   |---trimmed---|#######|--cut--|####|--cut--|##########|---trimmed---|
//   output                 |#######|####|##########|

namespace lumivastor::edit {

/// The range of source time that trimming keeps, before any cuts.
struct TrimRange {
    double start = 0, end = 0;

    bool operator==(const TrimRange&) const = default;
};

/// Trimming keeps at least this many seconds before its end.
inline constexpr double kMinimumKept = 0.5;

/// The trimming in force on a recording of `duration` seconds, never before its beginning. At least half a second
/// before the end is kept, whatever the settings say (or everything if the recording is shorter).
TrimRange effectiveTrim(const model::ProjectSettings& settings, double duration);

/// What cuts leave of the trimmed range, in time order, disjoint and not empty. Pieces of 0.001 s or
/// less are dropped.
std::vector<Interval> keptSegments(const TrimRange& trim, std::vector<model::CutRange> cuts);

/// Length of the edited video.
double outputDuration(std::span<const Interval> segments);

/// The source time at output time `t`. Past the end the last segment's end; `t` itself without segments. A movie of the
/// segments rounds their bounds to its clock; `shownSourceTime` of render/cut_composition.h says what it shows at `t`.
double sourceTime(std::span<const Interval> segments, double t);

/// The output time of source time `t`; nullopt where the video leaves it out. The end of a segment is in the video only
/// if it is the end of the last one.
std::optional<double> outputTime(std::span<const Interval> segments, double t);

}  // namespace lumivastor::edit
