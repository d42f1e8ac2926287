// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "model/pointer_track.h"

// Raw data of pointer and recorded window, collected while a recording runs. Times are seconds of the host clock;
// points are global, with a top-left origin, in the recording's point space.

namespace lumivastor::capture {

struct RawEvent {
    double t = 0;
    Point point;
    model::PointerKind kind = model::PointerKind::move;
    std::optional<model::PointerButton> button;
    std::optional<double> dx, dy;

    bool operator==(const RawEvent&) const = default;
};

/// From `t` on the cursor has the shape `id`.
struct RawCursorChange {
    double t = 0;
    std::string id;

    bool operator==(const RawCursorChange&) const = default;
};

/// From `t` until the next sample the window has the frame `rect`.
struct WindowSample {
    double t = 0;
    Rect rect;

    bool operator==(const WindowSample&) const = default;
};
/// Ascending in time.
using WindowTrack = std::vector<WindowSample>;

/// From `t` until the next sample the recorded display begins at `point`, in the recording's point space.
struct DisplaySample {
    double t = 0;
    Point point;

    bool operator==(const DisplaySample&) const = default;
};
/// The origins of a display that moved during the recording; before the first sample it is the origin at the start.
/// Ascending in time. Empty for most recordings, and for all recordings of windows.
using DisplayTrack = std::vector<DisplaySample>;

/// All raw data of one recording.
struct RawPointerTrack {
    std::vector<RawEvent> events;
    std::vector<RawCursorChange> cursorChanges;
    std::vector<model::CursorImage> cursorImages;

    bool operator==(const RawPointerTrack&) const = default;
};

}  // namespace lumivastor::capture
