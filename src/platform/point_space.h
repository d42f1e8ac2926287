// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/geometry.h"

namespace lumivastor::platform {

/// How one display's global points relate to the pixels of the whole desktop (both with a top-left origin). A display's
/// origin has the same coordinates in both spaces, and a point is `scale` pixels wide. Displays with different scales
/// may therefore overlap in points, and every position belongs to one display's space. A recording uses the space of
/// its own display everywhere, also beyond the display's edge, so that a point is the same distance everywhere.
struct PointSpace {
    /// The display's top-left corner, in pixels and in points.
    Point origin;
    /// Pixels per point, above 0.
    double scale = 1;

    Point pointFromPixel(Point pixel) const {
        return {origin.x + (pixel.x - origin.x) / scale, origin.y + (pixel.y - origin.y) / scale};
    }
    Point pixelFromPoint(Point point) const {
        return {origin.x + (point.x - origin.x) * scale, origin.y + (point.y - origin.y) * scale};
    }
    Rect rectFromPixels(const Rect& pixels) const {
        const Point corner = pointFromPixel({pixels.x, pixels.y});
        return {corner.x, corner.y, pixels.width / scale, pixels.height / scale};
    }
    Rect pixelsFromRect(const Rect& points) const {
        const Point corner = pixelFromPoint({points.x, points.y});
        return {corner.x, corner.y, points.width * scale, points.height * scale};
    }

    bool operator==(const PointSpace&) const = default;
};

}  // namespace lumivastor::platform
