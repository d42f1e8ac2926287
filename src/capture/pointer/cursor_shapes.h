// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "model/pointer_track.h"
#include "platform/pointer_monitor.h"

namespace lumivastor::capture {

/// The shape that stands for polls that found no cursor.
inline constexpr const char* kHiddenCursorID = "hidden";
model::CursorImage hiddenCursor();

/// Equal for cursors that look and point the same. Only meaningful within one recording.
std::uint64_t cursorFingerprint(const platform::SystemCursor& cursor);

/// Where the folder keeps the picture of a shape: "cursors/c0.png".
std::string cursorFile(const std::string& id);

/// The document's entry for a cursor. `scale` is pixels per point.
model::CursorImage cursorImage(const std::string& id, const platform::SystemCursor& cursor, double scale);

}  // namespace lumivastor::capture
