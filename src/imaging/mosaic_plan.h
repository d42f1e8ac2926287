// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <vector>

// The areas of a picture that are shown as large squares. Coordinates are pixels of the picture with the origin at the
// bottom-left.

namespace lumivastor::imaging {

/// Whole pixels; `right` and `top` are exclusive.
struct MosaicRect {
    int left = 0;
    int bottom = 0;
    int right = 0;
    int top = 0;

    int width() const { return right - left; }
    int height() const { return top - bottom; }
    bool isEmpty() const { return right <= left || top <= bottom; }
    bool operator==(const MosaicRect&) const = default;
};

/// The intersection; empty when there is none.
inline MosaicRect shared(const MosaicRect& a, const MosaicRect& b) {
    return {std::max(a.left, b.left), std::max(a.bottom, b.bottom), std::min(a.right, b.right), std::min(a.top, b.top)};
}

/// How many squares of `side` pixels cover `length` pixels.
inline int squaresAlong(int length, int side) {
    return (length + side - 1) / side;
}

/// Areas that become squares one after the other: a later one averages the result of the earlier ones.
struct MosaicPlan {
    /// The picture, which contains the areas. Squares that reach beyond its edge repeat the pixels at the edge.
    MosaicRect bounds;
    /// None is empty.
    std::vector<MosaicRect> areas;
    /// Of each square in pixels, at least 1; the first one begins at its area's bottom-left corner.
    int side = 1;

    /// All pixels that the area's squares hold.
    MosaicRect pixelsUnder(const MosaicRect& area) const {
        return shared({area.left, area.bottom, area.left + squaresAlong(area.width(), side) * side,
                       area.bottom + squaresAlong(area.height(), side) * side},
                      bounds);
    }
    bool operator==(const MosaicPlan&) const = default;
};

}  // namespace lumivastor::imaging
