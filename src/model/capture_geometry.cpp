// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/capture_geometry.h"

namespace lumivastor::model {

Geometry::Geometry(std::uint32_t displayID, const Rect& captured, double scale, Size size,
                   const DisplayBoundsLookup& lookUpDisplayBounds)
    : displayBounds(lookUpDisplayBounds(displayID)), contentRect(captured), pointPixelScale(scale), pixelSize(size) {}

Point Geometry::sourcePixel(Point fromGlobal) const {
    return {(fromGlobal.x - displayBounds.minX() - contentRect.minX()) * pointPixelScale,
            (fromGlobal.y - displayBounds.minY() - contentRect.minY()) * pointPixelScale};
}

Point Geometry::normalized(Point pixel) const {
    if (!(pixelSize.width > 0 && pixelSize.height > 0)) return {0, 0};
    return {pixel.x / pixelSize.width, pixel.y / pixelSize.height};
}

Point Geometry::globalPoint(Point fromBottomLeft, std::optional<double> firstScreenHeight) {
    return {fromBottomLeft.x, firstScreenHeight.value_or(0) - fromBottomLeft.y};
}

}  // namespace lumivastor::model
