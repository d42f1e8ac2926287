#pragma once

#include <cstdint>
#include <string>

#include "model/pointer_track.h"
#include "platform/pointer_monitor.h"

namespace lumivastor {

/// The shape that stands for polls that found no cursor.
inline constexpr const char* kHiddenCursorID = "hidden";
CursorImage hiddenCursor();

/// Equal for cursors that look and point the same. Only meaningful within one recording.
std::uint64_t cursorFingerprint(const SystemCursor& cursor);

/// Where the folder keeps the picture of a shape: "cursors/c0.png".
std::string cursorFile(const std::string& id);

/// The document's entry for a cursor. `scale` is pixels per point.
CursorImage cursorImage(const std::string& id, const SystemCursor& cursor, double scale);

}  // namespace lumivastor
