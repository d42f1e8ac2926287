// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/geometry.h"

namespace lumivastor::platform {

/// How one display's global points relate to the pixels of the whole desktop (both with a top-left origin). A display
/// begins at the same numbers in both spaces, and a point is `scale` pixels wide; so displays with different scales may
/// overlap in points, and a position has to say whose points it is given in. A recording uses those of its own display
/// for everything, also for what lies beyond the display's edge: then a point is the same distance everywhere.
struct PointSpace {
    /// Where the display begins, in pixels and in points.
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
