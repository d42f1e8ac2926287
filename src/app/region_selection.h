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

/// The dragging of a rectangle on an overlay that covers a screen: what the mouse does goes in, what is to be drawn
/// comes out. Points of the overlay, origin top-left.
class RegionSelection {
  public:
    explicit RegionSelection(Size overlay) : overlay_(overlay) {}

    // A drag that leaves the overlay goes along its edge.
    void mouseDown(Point point) { start_ = current_ = inside(point); }
    void mouseDragged(Point point);
    /// The rectangle that was dragged; nothing when it is too small to be meant, or no drag was under way.
    std::optional<Rect> mouseUp(Point point);

    /// Left bright in the dimmed overlay, with a frame. Nothing before a drag has some width.
    std::optional<Rect> hole() const;
    /// The size of what is being dragged, or what to do.
    std::optional<OverlayLabel> label() const;

  private:
    Point inside(Point point) const;

    const Size overlay_;
    std::optional<Point> start_;
    std::optional<Point> current_;
};

/// A rectangle on an overlay of the display as the display's own points relative to its top-left corner.
/// `pixelsPerOverlayPoint`: how many pixels of the desktop a point of the overlay is wide.
Rect displayRect(const Rect& overlayRect, double pixelsPerOverlayPoint, const platform::Display& display);

}  // namespace lumivastor::app
