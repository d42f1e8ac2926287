// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/pixel_rect.h"
#include "imaging/damage_area.h"

namespace lumivastor::x11 {

/// A top-level window in stacking order. Coordinates are pixels of the whole desktop.
struct StackedWindow {
    std::uint32_t id = 0;
    PixelRect outside;  // with its border
    int border = 0;
    std::uint32_t visual = 0;
    bool isExcluded = false;

    bool operator==(const StackedWindow&) const = default;
};

// Stacks go from back to front and hold only visible windows.

/// The parts of `area` that excluded windows cover.
imaging::DamageArea excludedParts(std::span<const StackedWindow> stack, const PixelRect& area);

/// The windows, below and above, from which the parts of `area` under excluded windows are composed; in stacking order.
std::vector<StackedWindow> windowsAtExcluded(std::span<const StackedWindow> stack, const PixelRect& area);

}  // namespace lumivastor::x11
