// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/window_stack.h"

#include <algorithm>

namespace lumivastor::x11 {

platform::DamageArea excludedParts(std::span<const StackedWindow> stack, const platform::PixelRect& area) {
    platform::DamageArea parts;
    for (const StackedWindow& window : stack) {
        if (window.isExcluded) parts.add(platform::intersection(window.outside, area));
    }
    return parts;
}

std::vector<StackedWindow> windowsAtExcluded(std::span<const StackedWindow> stack, const platform::PixelRect& area) {
    const platform::DamageArea parts = excludedParts(stack, area);
    std::vector<StackedWindow> touching;
    for (const StackedWindow& window : stack) {
        const bool touches = std::any_of(
            parts.rects().begin(), parts.rects().end(),
            [&](const platform::PixelRect& part) { return !platform::intersection(part, window.outside).isEmpty(); });
        if (!window.isExcluded && touches) touching.push_back(window);
    }
    return touching;
}

}  // namespace lumivastor::x11
