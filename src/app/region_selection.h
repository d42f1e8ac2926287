// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "base/geometry.h"
#include "platform/shareable_content.h"

namespace lumivastor::app {

/// Text on the overlay, centred on a point.
struct OverlayLabel {
    std::string text;
    double fontSize = 0;  // points
    Point centre;
};

/// The dragging of a rectangle on an overlay that covers a screen: takes mouse events and returns what to draw.
/// Coordinates are points of the overlay with a top-left origin.
class RegionSelection {
  public:
    explicit RegionSelection(Size overlay) : overlay_(overlay) {}

    // Drags outside the overlay are clamped to its edge.
    void mouseDown(Point point) {
        start_ = current_ = inside(point);
        isByKeys_ = false;
    }
    void mouseDragged(Point point);
    /// The dragged rectangle; nullopt when it is too small to be intended, or without a drag.
    std::optional<Rect> mouseUp(Point point);

    // For those who cannot drag. The first key shows a rectangle of half the overlay in its middle; the next ones move
    // it by points, or its right and lower edges. It stays inside the overlay and large enough.
    void moveByKey(Point by);
    void sizeByKey(Point by);
    /// The rectangle that keys have made; nullopt if they have made none.
    std::optional<Rect> madeByKeys() const;

    /// The rectangle to leave bright, with a frame, in the dimmed overlay; nullopt until a drag has an extent.
    std::optional<Rect> hole() const;
    /// The size of the dragged rectangle, or an instruction before a drag.
    std::optional<OverlayLabel> label() const;

  private:
    Point inside(Point point) const;
    // Whether there is one now that was not there before.
    bool beginByKeys();

    Size overlay_;
    std::optional<Point> start_;
    std::optional<Point> current_;
    bool isByKeys_ = false;
};

/// Converts a rectangle on a display's overlay to points relative to the display's top-left corner.
/// `pixelsPerOverlayPoint` is the width of an overlay's point in pixels of the desktop.
Rect displayRect(const Rect& overlayRect, double pixelsPerOverlayPoint, const platform::Display& display);

/// The same for an overlay that shows the whole display in its own size.
Rect displayRect(const Rect& overlayRect, const Size& overlay, const platform::Display& display);

/// The largest rectangle of a picture's shape within a window, in its middle.
Rect fittedInto(const Size& window, const Size& picture);

}  // namespace lumivastor::app
