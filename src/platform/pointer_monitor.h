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

/// One pointer event, in any window.
struct PointerEvent {
    PointerEventType type = PointerEventType::mouseMoved;
    /// Host clock, seconds.
    double hostSeconds = 0;
    /// In the monitor's point space.
    Point location;
    /// Scrolling only: distance in notches of a wheel. Positive is up and left: the content moves down and right.
    double scrollingDeltaX = 0;
    double scrollingDeltaY = 0;
};

/// Reports pointer events anywhere on the desktop, including this program's own windows, until it is destroyed.
class PointerMonitor {
  public:
    virtual ~PointerMonitor() = default;
};

/// Called on the monitor's own thread, one event at a time, in the order in which they happened.
using PointerEventHandler = std::function<void(const PointerEvent&)>;

/// The pointer's present shape.
struct SystemCursor {
    /// Changes when the shape does. Comparable only within one connection to the desktop.
    std::uint64_t serial = 0;
    imaging::BgraPremultipliedBuffer image;
    /// From the picture's top-left corner, in pixels.
    double hotspotX = 0;
    double hotspotY = 0;
};

}  // namespace lumivastor::platform
