// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "model/pointer_track.h"
#include "platform/pointer_monitor.h"

namespace lumivastor::capture {

/// The id of the shape for polls without a visible cursor.
inline constexpr const char* kHiddenCursorID = "hidden";
model::CursorImage hiddenCursor();

/// Equal for cursors with the same picture and hot spot. Comparable only within one recording.
std::uint64_t cursorFingerprint(const platform::SystemCursor& cursor);

/// The path of a shape's picture, relative to the folder: "cursors/c0.png".
std::string cursorFile(const std::string& id);

/// The entry for a cursor in the pointer track. `scale` is pixels per point.
model::CursorImage cursorImage(const std::string& id, const platform::SystemCursor& cursor, double scale);

}  // namespace lumivastor::capture
