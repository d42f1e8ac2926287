// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/pointer/cursor_shapes.h"

#include "base/stable_hash.h"

namespace lumivastor::capture {

model::CursorImage hiddenCursor() {
    model::CursorImage hidden;
    hidden.id = kHiddenCursorID;
    hidden.visible = false;
    return hidden;
}

std::uint64_t cursorFingerprint(const platform::SystemCursor& cursor) {
    StableHash hash;
    const int size[] = {cursor.image.width(), cursor.image.height()};
    hash.add(size, sizeof size);
    for (int y = 0; y < cursor.image.height(); ++y) {
        hash.add(cursor.image.row(y), static_cast<std::size_t>(cursor.image.width()) * 4);
    }
    const double hotspot[] = {cursor.hotspotX, cursor.hotspotY};
    hash.add(hotspot, sizeof hotspot);
    return hash.value();
}

std::string cursorFile(const std::string& id) {
    return "cursors/" + id + ".png";
}

model::CursorImage cursorImage(const std::string& id, const platform::SystemCursor& cursor, double scale) {
    model::CursorImage image;
    image.id = id;
    image.file = cursorFile(id);
    image.width = cursor.image.width() / scale;
    image.height = cursor.image.height() / scale;
    image.hotspotX = cursor.hotspotX / scale;
    image.hotspotY = cursor.hotspotY / scale;
    image.scale = image.width > 0 ? cursor.image.width() / image.width : 1;
    return image;
}

}  // namespace lumivastor::capture
