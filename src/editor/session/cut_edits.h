// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editor/session/span_edits.h"
#include "model/project_settings.h"

// What dragging and deleting a cut on the timeline makes of the settings. `index` is the cut's place in the settings'
// list, which keeps its order; without such a cut the settings stay. Times are seconds of source time; they snap to
// frames. A cut never passes or overlaps its neighbours, stays in the recording and is at least a frame long.

namespace lumivastor::editor {

/// The cut starts at `start` and keeps its length.
model::ProjectSettings withMovedCut(const model::ProjectSettings& settings, int index, double start,
                                    const RecordingLength& length);

///     before  |======]----*cut*-[======|
///     after   |===]-------*cut*-[======|
model::ProjectSettings withCutStart(const model::ProjectSettings& settings, int index, double start,
                                    const RecordingLength& length);

///     before  |======]-*cut*----[======|
///     after   |======]-*cut*-------[===|
model::ProjectSettings withCutEnd(const model::ProjectSettings& settings, int index, double end,
                                  const RecordingLength& length);

model::ProjectSettings withoutCut(const model::ProjectSettings& settings, int index);

}  // namespace lumivastor::editor
