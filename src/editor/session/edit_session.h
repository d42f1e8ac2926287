// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/geometry.h"
#include "base/main_loop.h"
#include "base/pixel_size.h"
#include "edit/composition.h"
#include "editor/session/control_values.h"
#include "editor/session/save_timer.h"
#include "editor/session/undo_history.h"
#include "model/project_document.h"
#include "model/project_settings.h"

namespace lumivastor::editor {

/// The editing of one recording without its window: what each command does to the settings, undo and redo, and when the
/// settings are saved. Every command either takes effect whole, as one step of the history, or changes nothing. Times
/// are seconds of source time. Main thread.
class EditSession {
  public:
    struct Options {
        /// Seconds of any clock that never runs backward; the host clock in the program.
        std::function<double()> clock;
        /// Other settings, or another pending cut, are in force.
        std::function<void()> changed;
        /// A German sentence for the user.
        std::function<void(const std::string&)> status;
        /// There is nothing to undo or to redo.
        std::function<void()> beep;
    };

    /// Opens a recording folder; opens no movie. The loop outlives the session. Throws `RecorderError`.
    EditSession(const std::filesystem::path& folder, MainLoop& loop, Options options);
    /// What has not been saved yet is lost; see `saveNow`.
    ~EditSession();

    /// The composition in force, on the canvas of the export: radius, shadow and rims are canvas pixels, so that a
    /// preview on any other canvas would look different. Another one when the export's size changes.
    std::shared_ptr<const edit::Composition> composition() const { return composition_; }
    model::ProjectSettings settings() const { return composition_->settings(); }
    const model::CaptureInfo& info() const { return composition_->info(); }
    bool hasWebcam() const { return composition_->recording().hasWebcam(); }
    /// The zooms are a list made by hand.
    bool hasManualZooms() const { return settings().zooms.has_value(); }
    std::optional<double> pendingCutStart() const { return pendingCutStart_; }
    const UndoHistory& history() const { return history_; }

    /// The zoom that is selected among those in force, -1 for none; kept valid when they change.
    int selectedZoom() const { return selectedZoom_; }
    void selectZoom(int index);
    /// Where a selected zoom is looked at; none without one.
    std::optional<double> selectedZoomMoment() const;
    ControlValues controls() const;

    /// Any of the controls was moved. Moves that follow each other closely are one step.
    void applyControls(const ControlValues& values);

    void setTrimStart(double playhead);
    void setTrimEnd(double playhead);
    void resetTrim();

    void markCutStart(double playhead);
    void addCut(double playhead);
    void removeLastCut();

    /// Adds a zoom at the playhead and selects it. `sliderScale` is what the zoom slider stands at.
    void addZoom(double playhead, double sliderScale);
    void deleteSelectedZoom();
    void resetZoomsToAuto();

    /// Pixelates the part of the picture that is seen under a canvas rectangle (pixels, origin bottom-left) at
    /// `playhead`. False when nothing of it is.
    bool addMask(const Rect& canvasRect, double playhead);
    void removeLastMask();
    void removeAllMasks();

    void undo();
    void redo();

    /// Saves at once, and not once more later. A document that is there and was not edited since it was read or saved
    /// stays as it is. What goes wrong, and what was found in the document's place, is told as a status.
    void saveNow();

  private:
    void edit(const model::ProjectSettings& settings, bool coalesce);
    bool putInForce(const model::ProjectSettings& settings);
    void restore(const std::optional<model::ProjectSettings>& settings);
    void scheduleSave();
    void save();
    void tell(const std::string& sentence);
    // The settings with the zooms as a list that can be edited.
    model::ProjectSettings withManualZooms() const;
    double snapped(double playhead) const;

    const Options options_;
    model::ProjectDocument document_;
    bool isEdited_ = false;  // since the document was read or saved
    std::shared_ptr<edit::Composition> composition_;
    UndoHistory history_;
    SaveTimer saveTimer_;
    std::optional<double> pendingCutStart_;
    int selectedZoom_ = -1;
};

/// The canvas that a preview of these settings has: the export's, or the usual one where no export is possible.
PixelSize previewCanvas(const model::ProjectSettings& settings);

}  // namespace lumivastor::editor
