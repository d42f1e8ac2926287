// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <vector>

// Which areas of a picture are shown in large squares. Coordinates are pixels of the picture with the origin at the
// bottom-left.

namespace lumivastor::imaging {

/// Whole pixels; `right` and `top` are the first ones beyond.
struct PixelRect {
    int left = 0;
    int bottom = 0;
    int right = 0;
    int top = 0;

    int width() const { return right - left; }
    int height() const { return top - bottom; }
    bool isEmpty() const { return right <= left || top <= bottom; }
    bool operator==(const PixelRect&) const = default;
};

/// What both have in common; empty when that is nothing.
inline PixelRect shared(const PixelRect& a, const PixelRect& b) {
    return {std::max(a.left, b.left), std::max(a.bottom, b.bottom), std::min(a.right, b.right), std::min(a.top, b.top)};
}

/// How many squares of `side` pixels cover `length` pixels.
inline int squaresAlong(int length, int side) {
    return (length + side - 1) / side;
}

/// Areas that are put in squares one after the other: a later one averages what the earlier ones leave.
struct MosaicPlan {
    /// The picture: squares that reach over its edge count the pixels at the edge for those beyond. Contains the areas.
    PixelRect bounds;
    /// None is empty.
    std::vector<PixelRect> areas;
    /// Of each square in pixels, at least 1; the first one begins at its area's bottom-left corner.
    int side = 1;

    /// All pixels that the area's squares hold.
    PixelRect pixelsUnder(const PixelRect& area) const {
        return shared({area.left, area.bottom, area.left + squaresAlong(area.width(), side) * side,
                       area.bottom + squaresAlong(area.height(), side) * side},
                      bounds);
    }
    bool operator==(const MosaicPlan&) const = default;
};

}  // namespace lumivastor::imaging
