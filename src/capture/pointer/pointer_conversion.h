// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "capture/pointer/pointer_records.h"
#include "model/capture_geometry.h"
#include "platform/pointer_monitor.h"

// How what was collected becomes the pointer track. Plain functions.

namespace lumivastor::capture {

RawEvent rawEvent(const platform::PointerEvent& event);

/// Presses, releases, drags and scrolls later than this are left out: they are those that ended the recording. One
/// second before the latest event; -1 when there is none.
double clickCutoff(const std::vector<RawEvent>& events);

/// The window's frame at a time: that of the last sample at or before it, of the first when the time precedes all.
/// Null when there is no sample.
const Rect* windowFrameAt(const WindowTrack& track, double t);

/// Where the display began at a time: as the last sample at or before it says, or at `atStart` before all samples.
Point displayOriginAt(const DisplayTrack& track, double t, Point atStart);

/// Builds the document. `t0` is the host clock at the movie's time zero. With window samples, positions are relative to
/// the window wherever it was; otherwise to what `geometry` says was captured, on a display that was where
/// `displayTrack` says. `windowTrack` is absent when no window was recorded.
model::PointerTrack pointerTrack(const RawPointerTrack& raw, double t0, const model::Geometry& geometry,
                                 const std::optional<WindowTrack>& windowTrack, const DisplayTrack& displayTrack = {});

}  // namespace lumivastor::capture
