// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>

#include "base/geometry.h"
#include "imaging/pixel_buffer.h"

namespace lumivastor::platform {

enum class PointerEventType : std::uint8_t {
    leftMouseDown,
    leftMouseUp,
    rightMouseDown,
    rightMouseUp,
    otherMouseDown,
    otherMouseUp,
    mouseMoved,
    leftMouseDragged,
    rightMouseDragged,
    otherMouseDragged,
    scrollWheel,
};

/// Something that the pointer did, in any window.
struct PointerEvent {
    PointerEventType type = PointerEventType::mouseMoved;
    /// Host clock, seconds.
    double hostSeconds = 0;
    /// In the monitor's point space.
    Point location;
    /// Scrolling only: how far, 1 a notch of a wheel; positive is up and left, as the content then moves down and
    /// right.
    double scrollingDeltaX = 0;
    double scrollingDeltaY = 0;
};

/// Tells what the pointer does, anywhere on the desktop, this program's own windows included, until it is destroyed.
class PointerMonitor {
  public:
    virtual ~PointerMonitor() = default;
};

/// Runs on a thread of the monitor's own, one event after the other in the order in which they happened.
using PointerEventHandler = std::function<void(const PointerEvent&)>;

/// The pointer's shape at a moment. Sizes in pixels of the picture.
struct SystemCursor {
    /// Changes when the shape does; within one connection to the desktop.
    std::uint64_t serial = 0;
    imaging::BgraPremultipliedBuffer image;
    /// From the picture's top-left corner, in pixels.
    double hotspotX = 0;
    double hotspotY = 0;
};

}  // namespace lumivastor::platform
