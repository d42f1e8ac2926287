// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "base/geometry.h"

namespace lumivastor::model {

/// Relates global screen points (origin top-left) to pixels of the recorded movie (origin top-left).
struct Geometry {
    /// The display's bounds in global points.
    Rect displayBounds;
    /// The captured rectangle in points, relative to the display's origin.
    Rect contentRect;
    /// Pixels per point.
    double pointPixelScale = 1;
    /// Size of the movie's pictures.
    Size pixelSize;

    /// Returns the bounds of a display, in global points, by its id.
    using DisplayBoundsLookup = std::function<Rect(std::uint32_t displayID)>;

    Geometry() = default;
    /// Looks up `displayBounds` once, in the constructor.
    Geometry(std::uint32_t displayID, const Rect& contentRect, double pointPixelScale, Size pixelSize,
             const DisplayBoundsLookup& lookUpDisplayBounds);

    /// The movie pixel of a global point. Not clamped: points outside the captured area give pixels outside the
    /// picture, negative ones included.
    Point sourcePixel(Point fromGlobal) const;

    /// A pixel as fractions of the picture's width and height; (0, 0) when the picture has no area.
    Point normalized(Point pixel) const;

    /// Converts a point of a window system with a bottom-left origin to a global point. `firstScreenHeight` is the
    /// height, in points, of the first screen in the system's list; nullopt without a screen.
    static Point globalPoint(Point fromBottomLeft, std::optional<double> firstScreenHeight);

    bool operator==(const Geometry&) const = default;
};

}  // namespace lumivastor::model
