// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/pictures/damage_area.h"
#include "platform/pictures/pixel_rect.h"

namespace lumivastor::x11 {

/// A window directly on the desktop as it stands in the stack. Whole desktop's pixels.
struct StackedWindow {
    std::uint32_t id = 0;
    platform::PixelRect outside;  // with its border
    int border = 0;
    std::uint32_t visual = 0;
    bool isExcluded = false;

    bool operator==(const StackedWindow&) const = default;
};

// The stack is given from the back to the front and holds what can be seen only.

/// Where excluded windows cover a part of `area`.
platform::DamageArea excludedParts(std::span<const StackedWindow> stack, const platform::PixelRect& area);

/// The windows, below and above, that a picture without the excluded ones is put together from where those are, within
/// `area`; in the stack's order.
std::vector<StackedWindow> windowsAtExcluded(std::span<const StackedWindow> stack, const platform::PixelRect& area);

}  // namespace lumivastor::x11
