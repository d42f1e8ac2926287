// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>

namespace lumivastor {

/// A rectangle of whole pixels, top-left origin. The name of a variable says of which picture.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    int maxX() const { return x + width; }
    int maxY() const { return y + height; }
    bool isEmpty() const { return width <= 0 || height <= 0; }
    std::int64_t area() const { return isEmpty() ? 0 : std::int64_t{width} * height; }
    bool contains(const PixelRect& other) const {
        return other.x >= x && other.y >= y && other.maxX() <= maxX() && other.maxY() <= maxY();
    }
    PixelRect movedBy(int dx, int dy) const { return {x + dx, y + dy, width, height}; }

    bool operator==(const PixelRect&) const = default;
};

/// The area that both share; all 0 when they share none.
inline PixelRect intersection(const PixelRect& a, const PixelRect& b) {
    const int left = std::max(a.x, b.x);
    const int top = std::max(a.y, b.y);
    const PixelRect shared{left, top, std::min(a.maxX(), b.maxX()) - left, std::min(a.maxY(), b.maxY()) - top};
    return shared.isEmpty() ? PixelRect{} : shared;
}

/// The smallest rectangle that holds both, neither of which is empty.
inline PixelRect united(const PixelRect& a, const PixelRect& b) {
    const int left = std::min(a.x, b.x);
    const int top = std::min(a.y, b.y);
    return {left, top, std::max(a.maxX(), b.maxX()) - left, std::max(a.maxY(), b.maxY()) - top};
}

}  // namespace lumivastor
