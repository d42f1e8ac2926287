// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/geometry.h"

namespace lumivastor::imaging {

/// A scaling followed by a translation, for each axis: x' = scaleX * x + translateX. Cameras, placements and cursor
/// shapes need no more, and without rotation every resampling stays separable. Scales are positive.
struct AffineTransform {
    double scaleX = 1;
    double scaleY = 1;
    double translateX = 0;
    double translateY = 0;

    static AffineTransform scaling(double scale) { return {scale, scale, 0, 0}; }
    static AffineTransform scaling(double scaleX, double scaleY) { return {scaleX, scaleY, 0, 0}; }
    static AffineTransform translation(double x, double y) { return {1, 1, x, y}; }

    bool isIdentity() const { return *this == AffineTransform{}; }

    /// This transform first, then `next`.
    AffineTransform then(const AffineTransform& next) const {
        return {scaleX * next.scaleX, scaleY * next.scaleY, translateX * next.scaleX + next.translateX,
                translateY * next.scaleY + next.translateY};
    }

    Point applied(Point point) const { return {scaleX * point.x + translateX, scaleY * point.y + translateY}; }
    Rect applied(const Rect& rect) const {
        return {scaleX * rect.x + translateX, scaleY * rect.y + translateY, scaleX * rect.width, scaleY * rect.height};
    }

    bool operator==(const AffineTransform&) const = default;
};

}  // namespace lumivastor::imaging
