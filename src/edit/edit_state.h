// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "base/interval.h"
#include "base/pixel_size.h"
#include "edit/cursor_engine.h"
#include "edit/recording.h"
#include "edit/studio_layout.h"
#include "edit/timeline.h"
#include "edit/zoom_engine.h"
#include "model/project_settings.h"

namespace lumivastor::edit {

/// Everything that is derived from a recording, its project document and a canvas size. Immutable: threads share it.
struct EditState {
    model::ProjectSettings settings;
    TrimRange trim;
    std::vector<Interval> keptSegments;
    /// Length of the edited video in seconds.
    double outputDuration = 0;
    /// The zooms in force, proposed or made by hand, sorted by start. They are proposed from clicks, or from where the
    /// pointer came to rest when clicks are not known.
    std::vector<model::ZoomSpec> zoomSpecs;
    std::shared_ptr<const ZoomEngine> zoomEngine;
    std::shared_ptr<const CursorEngine> cursorEngine;
    /// The presses inside the crop rectangle, in order, which get a ring.
    std::vector<model::PointerSample> clicks;
    /// Source times of the marks that are in the video, in order.
    std::vector<double> marks;
    StudioLayout layout;
};

/// The zoom camera's pace under these settings.
ZoomEngine::Parameters zoomParameters(const model::ProjectSettings& settings);

/// Derives the whole edit state: a pure function of the recording, the settings and the canvas. `previous`, a state of
/// the same recording or none, only saves time: equal parts are shared with it. Throws `RecorderError` when the
/// settings, from a damaged file, cannot be drawn; never for what the editor's controls can set.
std::shared_ptr<const EditState> deriveEditState(const Recording& recording, const model::ProjectSettings& settings,
                                                 PixelSize canvas, const EditState* previous = nullptr);

/// The id of the cursor shape at source time `t`: that of the last change up to then, or of the first change if all are
/// later. Null when there are no changes.
const std::string* cursorShapeAt(const std::vector<model::CursorChange>& changes, double t);

}  // namespace lumivastor::edit
