// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "editor/session/edit_session.h"
#include "editor/timeline/strip_menu.h"
#include "editor/timeline/strip_parts.h"
#include "editor/timeline/timeline_strip.h"

namespace lumivastor::editor {

/// Connects the strip with the session: what the user drags, selects and chooses there becomes edits. Both outlive it.
/// Main thread.
class TimelineTools {
  public:
    struct Callbacks {
        /// Runs a command; what it reports goes with the next one.
        std::function<void(const std::function<void()>& command)> run;
        /// Looks at the selected zoom.
        std::function<void()> showSelectedZoom;
        /// Another part of the timeline is selected.
        std::function<void()> selectionChanged;
        /// The scale of a zoom that is added.
        std::function<double()> zoomScale;
    };

    TimelineTools(EditSession& session, TimelineStrip& strip, Callbacks callbacks);
    TimelineTools(const TimelineTools&) = delete;
    TimelineTools& operator=(const TimelineTools&) = delete;

  private:
    void beginDrag(const StripPart& part);
    void dragTo(double seconds);
    void endDrag(bool isKept);
    model::ProjectSettings dragged(double seconds) const;
    void perform(StripCommand command, const StripPart& part, double seconds);

    EditSession& session_;
    TimelineStrip& strip_;
    const Callbacks callbacks_;
    StripPart part_;
    /// The settings of the drag's beginning, with a list of zooms if a zoom is dragged.
    model::ProjectSettings origin_;
};

}  // namespace lumivastor::editor
