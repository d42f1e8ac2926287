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

/// The editing of one recording without its window: the commands, undo and redo, and saving. A command takes effect
/// completely, as one step of the history, or changes nothing. Times are seconds of source time. Main thread.
class EditSession {
  public:
    struct Options {
        /// Seconds of any clock that never runs backward; the host clock in the program.
        std::function<double()> clock;
        /// The settings, the selected zoom or the pending cut have changed.
        std::function<void()> changed;
        /// A German sentence for the user.
        std::function<void(const std::string&)> status;
        /// There is nothing to undo or to redo.
        std::function<void()> beep;
        /// The look of a recording that has no document yet.
        model::ProjectSettings newLook = {};
    };

    /// Opens a recording folder; opens no movie and writes nothing. The loop outlives the session. Throws
    /// `RecorderError`.
    EditSession(const std::filesystem::path& folder, MainLoop& loop, Options options);
    /// Does not save; see `saveNow`.
    ~EditSession();

    /// The composition in force, on the canvas of the export: radius, shadow and rims are in canvas pixels, so the
    /// preview would look different on another canvas. A change of the export's size makes a new composition.
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
    /// The time at which the selected zoom is looked at: one second after its start. nullopt if none is selected.
    std::optional<double> selectedZoomMoment() const;
    ControlValues controls() const;

    /// Sets the fields of all controls. Calls that follow each other closely are one step.
    void applyControls(const ControlValues& values);

    /// Begins a drag: the user holds a part of the timeline or of the picture. All settings that follow with `dragTo`
    /// are one step of the history, which has this German name, and are in force at once. Every other command ends the
    /// drag first; undo and redo take it back.
    void beginDrag(const std::string& name);
    /// Puts settings in force, usually those of the drag's beginning with one part moved (`dragOrigin`). Nothing
    /// happens without a drag.
    void dragTo(const model::ProjectSettings& settings);
    /// Keeps what was dragged. If nothing has changed, there is no step.
    void endDrag();
    /// Takes back what was dragged; the history is as before the drag.
    void cancelDrag();
    bool isDragging() const { return drag_.has_value(); }
    /// The settings with which the drag began; of `isDragging` only.
    const model::ProjectSettings& dragOrigin() const { return drag_->origin; }
    /// Makes one change that no command below makes, as a step with this German name. With `coalesce`, calls that
    /// follow each other closely are one step.
    void change(const model::ProjectSettings& settings, const std::string& name, bool coalesce = false);
    /// Takes all fields of a look from `look` (model/look.h), as a step with this German name.
    void applyLook(const model::ProjectSettings& look, const std::string& name);
    /// The settings with the zooms as a list that can be edited: those in force, if they are proposed.
    model::ProjectSettings withManualZooms() const;

    // The commands of the tools. In their pictures the line is source time: `=` is in the video, `-` is not. `p` is the
    // playhead; it counts as the start of the frame that it shows, and that frame is the one right of `p`.

    /// The video starts with the frame at the playhead.
    ///
    ///     before  |==========p==========|
    ///     after   |----------[==========|
    ///
    /// At least half a second before the end stays in the video, wherever the playhead is (`effectiveTrim`).
    void setTrimStart(double playhead);

    /// The video ends before the frame at the playhead.
    ///
    ///     before  |==========p==========|
    ///     after   |==========]----------|
    ///
    /// At the first frame it removes the end instead: an end of 0.01 s or less means the end of the recording. If the
    /// video started later than half a second before the new end, it starts there.
    void setTrimEnd(double playhead);

    /// The whole recording is in the video, except for cuts.
    ///
    ///     before  |----[===]-cut-[===]--|
    ///     after   |========]-cut-[======|
    void resetTrim();

    /// Sets the pending start of a cut, which replaces an earlier one. It is no step, and no setting: the video stays.
    ///
    ///     before  |======p==============|
    ///     after   |======<==============|
    void markCutStart(double playhead);

    /// Cuts from the pending start up to the frame at the playhead, which stays in the video.
    ///
    ///     before  |======<======p=======|
    ///     after   |======]-cut--[=======|
    ///
    /// Without a pending start, or if the playhead is not more than 0.01 s behind it, there is only a status, and the
    /// pending start stays. Cuts may overlap; they stay separate, sorted by their starts.
    void addCut(double playhead);

    /// Removes the last cut of the list. `addCut` sorts the list, so this is the cut that starts last, not the one that
    /// was added last.
    ///
    ///     before  |===]-cut-[===]-cut-[===|
    ///     after   |===]-cut-[=============|
    void removeLastCut();

    /// Adds a zoom of 2.5 s that starts at the playhead, and selects it. Its scale is `sliderScale`, at least 1.4. It
    /// is centred on the place that the cursor has one second after the start, or on the middle of the picture.
    ///
    ///     before  |----p-----------[ zoom ]----|
    ///     after   |----[ new ]-----[ zoom ]----|
    ///
    /// Proposed zooms become a list made by hand. Other zooms stay as they are, also where the new one overlaps them;
    /// it may end after the recording.
    void addZoom(double playhead, double sliderScale);

    /// Removes the selected zoom (`*`) and selects the next one, or the last one if there is no next.
    ///
    ///     before  |---[ zoom ]---[*zoom*]---[ zoom ]---|
    ///     after   |---[ zoom ]--------------[*zoom*]---|
    ///
    /// Proposed zooms become a list made by hand. Without a selected zoom nothing changes.
    void deleteSelectedZoom();

    /// Discards the list made by hand; zooms are proposed from the clicks (`x`) again.
    ///
    ///     before  |--[ by hand ]----x-------------|
    ///     after   |---------------[ zoom ]--------|
    void resetZoomsToAuto();

    /// Pixelates a part of the source picture in the whole video: the part that a canvas rectangle (pixels, origin
    /// bottom-left) covers at `playhead`, with the zoom of that moment.
    ///
    ///     canvas    +-----------+    source  +-----------+
    ///               |  +-----+  |            |           |
    ///               |  +-----+  |    ->      |   ###     |
    ///               +-----------+            +-----------+
    ///
    /// False, and no change, if the rectangle covers nothing of the picture.
    bool addMask(const Rect& canvasRect, double playhead);

    /// Removes the last mask of the list, which is the one that was added last.
    void removeLastMask();
    void removeAllMasks();

    void undo();
    void redo();

    /// Saves now instead of later. An existing document is not written if nothing was edited since it was read or
    /// saved. Failures are reported as a status, and so is a document that another program left or that could not be
    /// read.
    void saveNow();

  private:
    struct Drag {
        model::ProjectSettings origin;
        int selectedZoom = -1;
        std::string name;
    };

    void edit(const model::ProjectSettings& settings, const std::string& name, bool coalesce = false);
    void compose(const model::ProjectSettings& settings);
    bool putInForce(const model::ProjectSettings& settings);
    void restore(const std::optional<model::ProjectSettings>& settings);
    void scheduleSave();
    void save();
    void report(const std::string& sentence);
    double snapped(double playhead) const;

    const Options options_;
    model::ProjectDocument document_;
    bool isEdited_ = false;  // since the document was read or saved
    std::shared_ptr<edit::Composition> composition_;
    UndoHistory history_;
    SaveTimer saveTimer_;
    std::optional<double> pendingCutStart_;
    int selectedZoom_ = -1;
    std::optional<Drag> drag_;
};

/// The canvas of the preview for these settings: that of the export, or of an export with default settings if the
/// export's size is not possible.
PixelSize previewCanvas(const model::ProjectSettings& settings);

}  // namespace lumivastor::editor
