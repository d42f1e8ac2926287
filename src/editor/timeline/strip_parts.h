// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <Qt>
#include <cstdint>

#include "editor/timeline/strip_lanes.h"
#include "editor/timeline/strip_selection.h"
#include "editor/timeline/timeline_strip_layout.h"

namespace lumivastor::editor {

/// A part of the strip that the pointer can take hold of.
struct StripPart {
    enum class Kind : std::uint8_t {
        outside,
        empty,  // an empty place of the track, or the ruler
        playhead,
        click,
        zoom,
        zoomStart,
        zoomEnd,
        cut,
        cutStart,
        cutEnd,
        trimStart,
        trimEnd,
    };
    Kind kind = Kind::outside;
    /// Of a zoom or a cut among all of them, of a click among those that are laid out.
    int index = -1;

    bool isOfZoom() const { return kind == Kind::zoom || kind == Kind::zoomStart || kind == Kind::zoomEnd; }
    bool isOfCut() const { return kind == Kind::cut || kind == Kind::cutStart || kind == Kind::cutEnd; }
    /// Dragging it changes the settings.
    bool isEdited() const { return kind >= Kind::zoom; }
    bool operator==(const StripPart&) const = default;
};

/// What belongs to a zoom or a cut is selected by a press on it.
StripSelection selectionOf(const StripPart& part);

/// What lies at a position. Ends have a reach of some points on both sides, less inside of what is narrow, so that its
/// middle remains; of several within reach the selected one's is taken, then the nearest. In the lane of the zooms they
/// come first, in the others trim and cuts.
StripPart stripPartAt(const TimelineStripLayout& layout, const StripLanes& lanes, const StripSelection& selection,
                      double x, double y);

/// The shape of the pointer says what a drag would do.
Qt::CursorShape pointerShape(const StripPart& part, bool isDragging);

}  // namespace lumivastor::editor
