// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

#include "imaging/pixel_buffer.h"

namespace lumivastor::pipewire {

/// What one buffer of a screen's stream says about the pointer.
struct CursorReport {
    enum class State {
        visible,
        hidden,  // over the recorded content, but its program shows no shape
        gone,    // not over the recorded content; no other field means anything
    };

    State state = State::gone;
    /// Where the hot spot is, in whole pixels of the picture from its top-left corner. May lie outside of it.
    int x = 0;
    int y = 0;
    /// The new shape; null when it is the same as before. Shared, because the shape outlives the report.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> newShape;
    /// The pixel of the shape that points, from its top-left corner; that of the last shape while there is no new one.
    int hotSpotX = 0;
    int hotSpotY = 0;
    /// Host time: of the picture that came with the report, else of the report's arrival.
    double hostSeconds = 0;
};

/// Reads the cursor metadata of a stream's buffers. Remembers the hot spot and whether the shape is hidden, because
/// producers tell both only together with a shape. The bytes are another process's: everything is checked, nothing
/// outside of them is read.
class CursorMetaReader {
  public:
    /// The largest shape that is read, in pixels on each side. Desktops scale shapes up to this size for people with
    /// weak sight.
    static constexpr int kMaximumSide = 384;

    /// `meta`: all bytes of a buffer's SPA_META_Cursor. In the order of the buffers. nullopt when they make no sense.
    std::optional<CursorReport> read(std::span<const std::byte> meta, double hostSeconds);

  private:
    bool isHidden_ = false;
    int hotSpotX_ = 0;
    int hotSpotY_ = 0;
};

}  // namespace lumivastor::pipewire
