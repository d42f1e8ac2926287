// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "editor/timeline/strip_parts.h"

namespace lumivastor::editor {

/// What the strip's menu can do. Commands of a place take the time at which the menu was opened.
enum class StripCommand : std::uint8_t {
    showZoom,
    deleteZoom,
    removeCut,
    addZoom,
    markCutStart,
    addCut,
    setTrimStart,
    setTrimEnd,
    resetTrim,
    resetZooms,
    showSelection,
    showAll,
};

struct StripMenuItem {
    StripCommand command;
    const char* text;  // German, UTF-8
    bool isEnabled = true;
    /// A line lies above it.
    bool startsGroup = false;
};

/// What the menu depends on besides its place.
struct StripMenuState {
    bool hasPendingCut = false;
    bool isTrimmed = false;
    bool hasManualZooms = false;
    bool hasSelection = false;
    bool showsAll = true;
};

/// The menu's items over a part of the strip.
std::vector<StripMenuItem> stripMenu(const StripPart& part, const StripMenuState& state);

}  // namespace lumivastor::editor
