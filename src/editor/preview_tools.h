// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "edit/composition.h"
#include "editor/preview/preview_handles.h"
#include "editor/preview/preview_handles_view.h"
#include "editor/preview/preview_view.h"
#include "editor/session/edit_session.h"
#include "editor/session/transport.h"

namespace lumivastor::editor {

/// What is selected in the preview, and what pointer and keys make of it: connects `PreviewHandlesView` and the
/// functions of preview_handles.h with the session. Nothing is selected while the preview plays.
///
/// A zoom's focus is edited on the whole picture: while it is selected, the preview shows the picture without zooms,
/// the frame on it is the part that the zoom shows, and `composition` is one without zooms. The video is not changed
/// by that. A click on the picture in a zoom begins it; a click beside the frame ends it.
///
/// Main thread.
class PreviewTools {
  public:
    /// All of them outlive the tools. `changed`: the selection has changed, or what the preview shows.
    PreviewTools(EditSession& session, Transport& transport, PreviewView& preview, PreviewHandlesView& view,
                 std::function<void()> changed);

    /// The settings, the playhead or the preview's size have changed.
    void refresh();

    const std::optional<PreviewItem>& selection() const { return selection_; }
    bool isEditingFocus() const { return selection_ && selection_->kind == PreviewItem::Kind::focus; }
    /// What the preview shows: the session's composition, or one without zooms.
    std::shared_ptr<const edit::Composition> composition();

    // Commands; false if they do not apply.

    /// Selects an item that is in sight. Pauses.
    void choose(const PreviewItem& item);
    /// Selects the next item in sight; nothing behind the last one. Pauses.
    void selectNext();
    /// Begins or ends editing the focus of the selected zoom; goes to it if the playhead is elsewhere. Pauses.
    void toggleFocus();
    void clearSelection() { select(std::nullopt); }
    /// Takes a drag back, or ends the selection.
    bool escape();
    /// Deletes the selected mask or the zoom whose focus is selected, or switches the bubble off.
    bool deleteSelected();
    /// Moves the selected item by source pixels, or makes it larger by them.
    bool nudge(Point pixels);
    bool resize(Point pixels);

  private:
    struct Drag {
        PreviewScene scene;
        PreviewHit hit;
        Point from;
        model::ProjectSettings before;
        Point to;
        bool hasBegun = false;
    };

    PreviewScene scene() const;
    int zoomAtPlayhead() const;
    bool isInSight(const PreviewItem& item) const;
    void select(const std::optional<PreviewItem>& item);
    void show();
    void perform(PreviewHandlesView::Action action);
    model::ProjectSettings settingsFor(const PreviewItem& item) const;
    void changeTo(const model::ProjectSettings& next, const model::ProjectSettings& before, const PreviewHit& hit);
    Qt::CursorShape hover(Point point);
    void press(Point point);
    void drag(Point point);
    void release(Point point);

    EditSession& session_;
    Transport& transport_;
    PreviewView& preview_;
    PreviewHandlesView& view_;
    const std::function<void()> changed_;

    std::optional<PreviewItem> selection_;
    std::optional<PreviewItem> hovered_;
    std::optional<Drag> drag_;
    // Where the button went down beside all items, until the pointer moves.
    std::optional<Point> click_;
    std::shared_ptr<edit::Composition> whole_;  // without zooms, once it was needed
};

}  // namespace lumivastor::editor
