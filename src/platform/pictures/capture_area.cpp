// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/capture_area.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::platform {

// Corner and size are rounded separately, because the capture plan rounds the picture's size alone.
PixelRect captureArea(const Display& display, const std::optional<Rect>& sourceRect, PixelSize picture) {
    const Rect points = sourceRect.value_or(Rect{0, 0, display.frame.width, display.frame.height});
    const auto pixels = [&](double value) { return static_cast<int>(std::lround(value * display.scale)); };
    return {static_cast<int>(std::lround(display.frame.x)) + pixels(points.x),
            static_cast<int>(std::lround(display.frame.y)) + pixels(points.y),
            std::min(pixels(points.width), picture.width), std::min(pixels(points.height), picture.height)};
}

}  // namespace lumivastor::platform
