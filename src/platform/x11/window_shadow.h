// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>

#include "base/pixel_rect.h"

namespace lumivastor::x11 {

/// A window's inside without the shadow that it draws around its content. `extents` are the window's left, right, top
/// and bottom, in pixels; values that leave no content count as no shadow.
PixelRect withoutShadow(const PixelRect& inside, std::span<const std::uint32_t> extents);

}  // namespace lumivastor::x11
