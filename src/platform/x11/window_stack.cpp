// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/window_stack.h"

#include <algorithm>

namespace lumivastor::x11 {

imaging::DamageArea excludedParts(std::span<const StackedWindow> stack, const PixelRect& area) {
    imaging::DamageArea parts;
    for (const StackedWindow& window : stack) {
        if (window.isExcluded) parts.add(intersection(window.outside, area));
    }
    return parts;
}

std::vector<StackedWindow> windowsAtExcluded(std::span<const StackedWindow> stack, const PixelRect& area) {
    const imaging::DamageArea parts = excludedParts(stack, area);
    std::vector<StackedWindow> touching;
    for (const StackedWindow& window : stack) {
        const bool touches = std::any_of(parts.rects().begin(), parts.rects().end(), [&](const PixelRect& part) {
            return !intersection(part, window.outside).isEmpty();
        });
        if (!window.isExcluded && touches) touching.push_back(window);
    }
    return touching;
}

}  // namespace lumivastor::x11
