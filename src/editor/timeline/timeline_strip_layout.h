// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/interval.h"
#include "edit/timeline.h"
#include "editor/timeline/strip_ruler.h"
#include "editor/timeline/visible_range.h"
#include "model/pointer_track.h"
#include "model/project_settings.h"

namespace lumivastor::editor {

/// The visible part of the strip: what lies where. Positions are in the widget's unit, from its left edge.
struct TimelineStripLayout {
    struct Span {
        double left = 0, right = 0;

        double width() const { return right - left; }
        bool contains(double x) const { return left <= x && x < right; }
        bool operator==(const Span&) const = default;
    };
    /// A zoom or a cut.
    struct Item {
        Span span;
        int index = -1;
        /// Its start and its end are visible, too.
        bool hasStart = true, hasEnd = true;

        bool operator==(const Item&) const = default;
    };
    struct Click {
        double x = 0;
        double seconds = 0;

        bool operator==(const Click&) const = default;
    };

    /// The recording, as far as it is visible.
    Span whole;
    std::vector<RulerTick> ticks;
    std::vector<Span> kept;
    std::vector<Item> zooms;  // in the order of the zooms in force
    std::vector<Item> cuts;   // in the order of the settings
    /// Clicks that would overlap are one.
    std::vector<Click> clicks;
    /// Marks that would overlap are one.
    std::vector<double> marks;
    /// From the pending start of a cut to the playhead; only a mark at the start if the playhead is before it.
    std::optional<Span> pendingCut;
    /// The ends of what trimming keeps, where they are visible.
    std::optional<double> trimStart, trimEnd;
    std::optional<double> playhead;  // if it is visible
};

struct TimelineStripContent {
    double duration = 0;
    std::int64_t fps = 60;
    edit::TrimRange trim;
    std::span<const Interval> kept;
    std::span<const model::ZoomSpec> zooms;  // in the order of their starts
    std::span<const model::CutRange> cuts;
    std::span<const model::PointerSample> clicks;  // in the order of time
    std::optional<double> pendingCutStart;
    double playhead = 0;
    std::span<const double> marks = {};  // in the order of time
};

/// Lays out the visible part of the content. Spans that would be too narrow to see get a minimum width. The costs
/// depend on what is visible: of clicks only those are looked at that are shown. `labelDistance` as in `rulerTicks`.
TimelineStripLayout layOutTimelineStrip(const TimelineStripContent& content, const TimeScale& scale,
                                        double labelDistance);

}  // namespace lumivastor::editor
