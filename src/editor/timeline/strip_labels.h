// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "editor/timeline/timeline_strip_layout.h"

// Where the labels of zooms stand. Zooms may overlap: each covers those before it, and the current one all others.

namespace lumivastor::editor {

/// The widest part of each zoom that no other covers, within `whole`; in the order of `zooms`, empty where there is
/// none. `current` is the index of the zoom that lies above all others, -1 if there is none.
std::vector<TimelineStripLayout::Span> uncoveredParts(std::span<const TimelineStripLayout::Item> zooms, int current,
                                                      const TimelineStripLayout::Span& whole);

/// "Zoom 4" if it fits into so many points, or else "4", or else nothing: a label is never cut.
std::string zoomLabel(int index, double room, const std::function<double(const std::string& text)>& widthOf);

}  // namespace lumivastor::editor
