// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "capture/pauses/pauses.h"
#include "capture/pointer/pointer_records.h"
#include "model/capture_geometry.h"
#include "platform/pointer_monitor.h"

// Converts the collected raw events to the pointer track. Pure functions.

namespace lumivastor::capture {

RawEvent rawEvent(const platform::PointerEvent& event);

/// Presses, releases, drags and scrolls after this host time are left out, because they ended the recording. One second
/// before the latest event; -1 without events.
double clickCutoff(const std::vector<RawEvent>& events);

/// The window's frame at host time `t`: that of the last sample at or before `t`, or else of the first. Null without
/// samples.
const Rect* windowFrameAt(const WindowTrack& track, double t);

/// The display's origin at host time `t`: that of the last sample at or before `t`, or else `atStart`.
Point displayOriginAt(const DisplayTrack& track, double t, Point atStart);

/// Builds the document. `t0` is the host clock at the movie's time zero. With window samples, positions are relative to
/// the window's frame at that time; otherwise to the area captured by `geometry`, on a display that moves as
/// `displayTrack` says. `windowTrack` is nullopt when no window was recorded. Times become movie times: what happened
/// within a pause is left out, but what it led to (the pointer's place, the cursor's shape, the window's frame) holds
/// from where the pause lies.
model::PointerTrack pointerTrack(const RawPointerTrack& raw, double t0, const model::Geometry& geometry,
                                 const std::optional<WindowTrack>& windowTrack, const DisplayTrack& displayTrack = {},
                                 const Pauses& pauses = {});

}  // namespace lumivastor::capture
