// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>

// Plain two-dimensional values. They carry no space of their own: the name of a variable or field says whether its
// coordinates are points or pixels and where their origin lies (`sourceRect`, `canvasPoint`, "top-left",
// "bottom-left").

namespace lumivastor {

struct Point {
    double x = 0;
    double y = 0;

    bool operator==(const Point&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;

    bool operator==(const Size&) const = default;
};

/// A rectangle by its corner with the smallest coordinates and its size, both of which may have fractions.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double minY() const { return y; }
    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    double midX() const { return x + width * 0.5; }
    double midY() const { return y + height * 0.5; }
    bool isEmpty() const { return !(width > 0 && height > 0); }

    /// True for points inside and on every edge.
    bool containsOrTouches(Point point) const {
        return point.x >= minX() && point.x <= maxX() && point.y >= minY() && point.y <= maxY();
    }

    /// The rectangle with `margin` more on each of its four sides.
    Rect grownBy(double margin) const { return {x - margin, y - margin, width + 2 * margin, height + 2 * margin}; }

    bool operator==(const Rect&) const = default;
};

/// The smallest rectangle with whole coordinates that holds `rect`.
inline Rect integral(const Rect& rect) {
    const double left = std::floor(rect.minX());
    const double bottom = std::floor(rect.minY());
    return {left, bottom, std::ceil(rect.maxX()) - left, std::ceil(rect.maxY()) - bottom};
}

/// The area that both rectangles share; an empty rectangle (all four 0) when they share none or only an edge.
inline Rect intersection(const Rect& a, const Rect& b) {
    const double left = std::max(a.minX(), b.minX());
    const double bottom = std::max(a.minY(), b.minY());
    const Rect shared{left, bottom, std::min(a.maxX(), b.maxX()) - left, std::min(a.maxY(), b.maxY()) - bottom};
    return shared.isEmpty() ? Rect{} : shared;
}

inline bool isFinite(const Rect& rect) {
    return std::isfinite(rect.x) && std::isfinite(rect.y) && std::isfinite(rect.width) && std::isfinite(rect.height);
}

}  // namespace lumivastor
