// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "editor/timeline/strip_parts.h"
#include "editor/timeline/timeline_strip_layout.h"

// German texts about the strip, UTF-8.

namespace lumivastor::editor {

/// The tool tip over a part: what it is, and what can be done with it. Over an empty place, the strip's legend.
std::string stripToolTip(const StripPart& part, const TimelineStripContent& content, const TimelineStripLayout& layout);

/// What a lane of sound shows; empty in the others, which explain themselves.
std::string stripLaneName(const StripLanes& lanes, double y);

/// What assistive programs read: the selection, the playhead and the part that is shown.
std::string stripValue(const StripSelection& selection, const TimelineStripContent& content, const Interval& visible);

/// The name of a drag as a step of the history.
const char* stripDragName(StripPart::Kind kind);

}  // namespace lumivastor::editor
