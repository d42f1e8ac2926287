// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "base/interval.h"
#include "edit/timeline.h"
#include "model/pointer_track.h"
#include "model/project_settings.h"

namespace lumivastor::editor {

/// The small picture below the time slider: what of the recording is in the video, where it zooms, where the pointer
/// was pressed. Positions in the widget's own unit, from its left edge.
struct TimelineStripLayout {
    struct Span {
        double left = 0, right = 0;

        bool operator==(const Span&) const = default;
    };

    Span whole;
    std::vector<Span> kept;
    std::vector<Span> zooms;  // in the order of the zooms in force
    /// Presses; those that would lie upon each other are one.
    std::vector<double> clicks;
    /// From the pending start of a cut to the playhead, when that lies behind it; otherwise a mere mark.
    std::optional<Span> pendingCut;
    double playhead = 0;
};

struct TimelineStripContent {
    double duration = 0;
    std::span<const Interval> kept;
    std::span<const model::ZoomSpec> zooms;
    std::span<const model::PointerSample> clicks;  // in the order of time
    std::optional<double> pendingCutStart;
    double playhead = 0;
};

/// Lays the content out between `margin` and `width - margin`, where the slider's handle has its ends. What is too
/// short to be seen gets a little width of its own.
TimelineStripLayout layOutTimelineStrip(const TimelineStripContent& content, double width, double margin);

/// The time at a position, limited to the recording.
double timelineSecondsAt(double x, double duration, double width, double margin);

}  // namespace lumivastor::editor
