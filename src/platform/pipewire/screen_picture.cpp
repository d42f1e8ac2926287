// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/screen_picture.h"

#include <cstring>

namespace lumivastor::pipewire {
namespace {

// A pixel's bytes in memory order are a number's from its lowest; the fixed distance between load and store lets the
// compiler use vectors.
template <bool isRedFirst>
void copyRow(const std::uint8_t* from, std::uint8_t* to, int count) {
    for (int i = 0; i < count; ++i) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, from + static_cast<std::ptrdiff_t>(i) * 4, 4);
        if (isRedFirst) pixel = (pixel & 0x0000ff00U) | (pixel >> 16U & 0x000000ffU) | (pixel << 16U & 0x00ff0000U);
        pixel |= 0xff000000U;
        std::memcpy(to + static_cast<std::ptrdiff_t>(i) * 4, &pixel, 4);
    }
}

}  // namespace

void copyOpaque(const ScreenPicture& picture, const platform::PixelRect& part,
                imaging::BgraPremultipliedBuffer& target) {
    const platform::PixelRect within =
        platform::intersection(platform::intersection(part, {0, 0, picture.crop.width, picture.crop.height}),
                               {0, 0, target.width(), target.height()});
    for (int y = within.y; y < within.maxY(); ++y) {
        const std::uint8_t* const row =
            picture.pixels + static_cast<std::size_t>(y) * picture.stride + static_cast<std::size_t>(within.x) * 4;
        (picture.isRedFirst ? copyRow<true> : copyRow<false>)(row, target.pixel(within.x, y), within.width);
    }
}

}  // namespace lumivastor::pipewire
