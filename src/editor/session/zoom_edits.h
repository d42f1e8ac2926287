// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editor/session/span_edits.h"
#include "model/project_settings.h"

// What dragging a zoom on the timeline makes of the settings. Every function takes settings with a list that is made by
// hand (`EditSession::withManualZooms`), the zoom's index among those in force, and the recording's length and frame
// rate; without such a zoom the settings stay. Times are seconds of source time; they snap to frames.

namespace lumivastor::editor {

/// The shortest zoom that dragging makes, in seconds. The camera needs longer to zoom in, and then holds the zoom until
/// it has.
inline constexpr double kLeastZoom = 0.3;

/// The zoom starts at `start`, and its focus keys go with it.
///
///     before  |--[ one ]----[*zoom*]-------[ two ]--|
///     after   |--[ one ]---------[*zoom*]--[ two ]--|
///
/// It never passes or overlaps its neighbours and stays in the recording.
model::ProjectSettings withMovedZoom(const model::ProjectSettings& settings, int index, double start,
                                     const RecordingLength& length);

/// The zoom starts at `start`; its end stays.
///
///     before  |--[ one ]----[*zoom*]--|
///     after   |--[ one ]-[* zoom * ]--|
///
/// The first focus keeps its distance from the start, so that the camera reaches it while it zooms in; later focus keys
/// stay where they are, and those that would come before the first are dropped.
model::ProjectSettings withZoomStart(const model::ProjectSettings& settings, int index, double start,
                                     const RecordingLength& length);

/// The zoom ends at `end`; its start and its focus keys stay. The camera does not reach keys behind the end.
model::ProjectSettings withZoomEnd(const model::ProjectSettings& settings, int index, double end,
                                   const RecordingLength& length);

}  // namespace lumivastor::editor
