// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "base/interval.h"
#include "editor/timeline/strip_parts.h"
#include "editor/timeline/timeline_strip_layout.h"
#include "render/overview/recording_overview.h"

namespace lumivastor::editor {

/// A part of the strip that is being dragged. Times are seconds of source time.
struct StripDrag {
    StripPart part;
    /// The zoom, the cut or what trimming keeps, as the drag found it.
    Interval origin;
    /// The time under the pointer when the drag began.
    double grabbedAt = 0;
};

/// The part as it is in the content; nullopt if dragging it changes nothing or there is no such part.
std::optional<StripDrag> beginStripDrag(const StripPart& part, double pointer, const TimelineStripContent& content);

/// The times that a dragged part snaps to, sorted: the playhead, clicks, the ends of zooms, cuts and trim, and those in
/// `others`, but nothing of the part itself.
std::vector<double> snapTimes(const StripPart& part, const TimelineStripContent& content,
                              std::span<const double> others);

/// Where sound begins after silence, on any track of a complete overview, as times to snap to.
std::vector<double> soundBeginnings(const render::RecordingOverview& overview, double duration);

struct StripDragStep {
    /// Where the part's start is, or for an end, where that is.
    double seconds = 0;
    /// The time that it has snapped to.
    std::optional<double> snappedTo;
};

/// Where the part is when the pointer is at the time `pointer`. The body of a zoom or a cut snaps with the end that is
/// nearer to one of `snaps`, which are sorted. `reach` in seconds; 0 suspends snapping.
StripDragStep stripDragStep(const StripDrag& drag, double pointer, std::span<const double> snaps, double reach);

}  // namespace lumivastor::editor
