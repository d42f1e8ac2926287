#include "platform/x11/window_stack.h"

#include <algorithm>

namespace lumivastor {

DamageArea excludedParts(std::span<const StackedWindow> stack, const PixelRect& area) {
    DamageArea parts;
    for (const StackedWindow& window : stack) {
        if (window.isExcluded) parts.add(intersection(window.outside, area));
    }
    return parts;
}

std::vector<StackedWindow> windowsBeneath(std::span<const StackedWindow> stack, const PixelRect& area) {
    std::vector<StackedWindow> beneath;
    for (std::size_t i = 0; i < stack.size(); ++i) {
        if (stack[i].isExcluded) continue;
        const PixelRect seen = intersection(stack[i].outside, area);
        const bool isCovered = std::any_of(
            stack.begin() + static_cast<std::ptrdiff_t>(i) + 1, stack.end(),
            [&](const auto& above) { return above.isExcluded && !intersection(above.outside, seen).isEmpty(); });
        if (isCovered) beneath.push_back(stack[i]);
    }
    return beneath;
}

}  // namespace lumivastor
