// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/window_shadow.h"

namespace lumivastor::x11 {

PixelRect withoutShadow(const PixelRect& inside, std::span<const std::uint32_t> extents) {
    if (extents.size() != 4) return inside;
    const auto width = static_cast<std::uint64_t>(inside.width);
    const auto height = static_cast<std::uint64_t>(inside.height);
    const std::uint64_t across = std::uint64_t{extents[0]} + extents[1];
    const std::uint64_t down = std::uint64_t{extents[2]} + extents[3];
    if (across >= width || down >= height) return inside;
    return {inside.x + static_cast<int>(extents[0]), inside.y + static_cast<int>(extents[2]),
            static_cast<int>(width - across), static_cast<int>(height - down)};
}

}  // namespace lumivastor::x11
