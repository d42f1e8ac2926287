// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "base/interval.h"
#include "base/pixel_size.h"
#include "edit/cursor_assets.h"
#include "edit/edit_state.h"
#include "edit/frame_composer.h"
#include "edit/recording.h"
#include "edit/studio_layers.h"
#include "edit/studio_layout.h"
#include "model/project_settings.h"

namespace lumivastor::edit {

/// The edit model of one opened recording: its documents, the current settings and everything derived from them, for
/// one canvas size. The editor's thread assigns settings; any thread may ask for the state, which is an immutable
/// snapshot: a state that is being drawn stays intact when the next one takes effect.
class Composition {
  public:
    /// Opens a folder: reads its documents and cursor pictures and derives the first state. Canvas sizes in pixels, at
    /// least 1. Throws `RecorderError`.
    Composition(const std::filesystem::path& folder, int canvasWidth, int canvasHeight);
    /// The same recording on another canvas. Reads no files: shares the documents, and the cursor path if the settings
    /// do not change it. Throws `RecorderError` when the settings cannot be drawn.
    Composition(const Composition& other, const model::ProjectSettings& settings, int canvasWidth, int canvasHeight);

    int canvasWidth() const { return canvas_.width; }
    int canvasHeight() const { return canvas_.height; }
    const std::filesystem::path& folder() const { return recording_->folder; }
    const model::CaptureInfo& info() const { return recording_->info; }
    const model::PointerTrack& track() const { return recording_->track; }
    const Recording& recording() const { return *recording_; }
    const std::map<std::string, CursorAsset>& cursorAssets() const { return cursorAssets_; }

    /// The current state, with its settings.
    std::shared_ptr<const EditState> state() const;

    model::ProjectSettings settings() const { return state()->settings; }
    /// Applies new settings by rebuilding the whole state; equal ones change nothing. One thread at a time. Throws
    /// `RecorderError`, and changes nothing, when they cannot be drawn.
    void setSettings(const model::ProjectSettings& settings);

    std::vector<Interval> keptSegments() const { return state()->keptSegments; }
    /// Seconds.
    double outputDuration() const { return state()->outputDuration; }
    double sourceTime(double forOutput) const;
    std::vector<model::ZoomSpec> zoomSpecs() const { return state()->zoomSpecs; }
    /// The number of zooms in effect.
    int zoomCount() const;

    /// The position of the drawn cursor at a source time, as fractions of the source picture from its top-left; nullopt
    /// without a path.
    std::optional<Point> cursorNormalized(double t) const;

    /// The part of the source that lies under a canvas rectangle (pixels, origin bottom-left) at source time `t`, as
    /// fractions of the source picture from its top-left; nullopt when no part of the picture is there.
    std::optional<model::MaskRect> sourceNormalized(const Rect& fromCanvas, double t) const;

    /// The recipe of the studio frame at source time `t`; see `composeFrame`. Any thread.
    imaging::Picture compose(const imaging::Picture& source, const std::optional<imaging::Picture>& webcam,
                             double t) const;

    /// The same for a frame that is painted at this size. It looks the same, but its layers are drawn for this size,
    /// which takes less time the smaller it is, whatever the canvas. A still has all layers for itself; while frames
    /// follow each other, those that go with the camera are drawn only once for all that are zoomed. Any thread.
    imaging::Picture composeShown(const imaging::Picture& source, const std::optional<imaging::Picture>& webcam,
                                  double t, PixelSize frame, bool isStill) const;

  private:
    // A state and its layers, which are drawn when the first frame needs them: a report about a recording needs none,
    // and a slider passes many values that are never shown while it is dragged.
    struct Shown {
        std::shared_ptr<const EditState> state;
        std::once_flag drawn;
        StudioLayers layers;
    };

    std::shared_ptr<Shown> shown() const;
    void rebuild(const model::ProjectSettings& settings, const EditState* previous);

    const PixelSize canvas_;
    const std::shared_ptr<const Recording> recording_;
    const std::map<std::string, CursorAsset> cursorAssets_;
    mutable imaging::PreparedLayers preparedLayers_;  // of the whole canvas
    mutable imaging::PreparedLayers shownLayers_;     // for the size at which frames are painted
    mutable std::mutex stateLock_;
    std::shared_ptr<Shown> shown_;  // guarded by stateLock_
};

}  // namespace lumivastor::edit
