// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editor/session/span_edits.h"
#include "model/project_settings.h"

// What dragging the trim handles makes of the settings. Times are seconds of source time; they snap to frames. At least
// half a second stays in the video (`edit::effectiveTrim`), or everything of a shorter recording.

namespace lumivastor::editor {

/// The video starts at `start`; its end stays.
model::ProjectSettings withTrimStart(const model::ProjectSettings& settings, double start,
                                     const RecordingLength& length);

/// The video ends at `end`; its start stays. At the end of the recording no end is set.
model::ProjectSettings withTrimEnd(const model::ProjectSettings& settings, double end, const RecordingLength& length);

}  // namespace lumivastor::editor
