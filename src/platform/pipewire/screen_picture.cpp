// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/screen_picture.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace lumivastor::pipewire {
namespace {

std::uint32_t opaqueBlueFirst(const std::uint8_t* from, bool isRedFirst) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, from, 4);
    if (isRedFirst) pixel = (pixel & 0x0000ff00U) | (pixel >> 16U & 0x000000ffU) | (pixel << 16U & 0x00ff0000U);
    return pixel | 0xff000000U;
}

// A pixel's bytes in memory order are a number's from its lowest; the fixed distance between load and store lets the
// compiler use vectors.
template <bool isRedFirst>
void copyRow(const std::uint8_t* from, std::uint8_t* to, int count) {
    for (int i = 0; i < count; ++i) {
        const std::uint32_t pixel = opaqueBlueFirst(from + static_cast<std::ptrdiff_t>(i) * 4, isRedFirst);
        std::memcpy(to + static_cast<std::ptrdiff_t>(i) * 4, &pixel, 4);
    }
}

// In small squares, because one of both sides walks down columns.
void copyTurned(const ScreenPicture& picture, const PixelRect& part, imaging::BgraPremultipliedBuffer& target) {
    constexpr int kSide = 16;
    const platform::BufferPlace at = platform::placeInBuffer({picture.crop.width, picture.crop.height}, picture.turn);
    const auto stride = static_cast<std::ptrdiff_t>(picture.stride);
    const std::ptrdiff_t right = at.yx * stride + at.xx * 4;
    const std::ptrdiff_t down = at.yy * stride + at.xy * 4;
    const std::uint8_t* const corner = picture.pixels + at.y0 * stride + at.x0 * 4;
    for (int top = part.y; top < part.maxY(); top += kSide) {
        for (int left = part.x; left < part.maxX(); left += kSide) {
            const int bottom = std::min(top + kSide, part.maxY());
            const int end = std::min(left + kSide, part.maxX());
            for (int y = top; y < bottom; ++y) {
                for (int x = left; x < end; ++x) {
                    const std::uint32_t pixel = opaqueBlueFirst(corner + x * right + y * down, picture.isRedFirst);
                    std::memcpy(target.pixel(x, y), &pixel, 4);
                }
            }
        }
    }
}

}  // namespace

void copyOpaque(const ScreenPicture& picture, const PixelRect& part, imaging::BgraPremultipliedBuffer& target) {
    const auto [width, height] = picture.size();
    const PixelRect within =
        intersection(intersection(part, {0, 0, width, height}), {0, 0, target.width(), target.height()});
    if (picture.turn != platform::PictureTurn::none) {
        copyTurned(picture, within, target);
        return;
    }
    for (int y = within.y; y < within.maxY(); ++y) {
        const std::uint8_t* const row =
            picture.pixels + static_cast<std::size_t>(y) * picture.stride + static_cast<std::size_t>(within.x) * 4;
        (picture.isRedFirst ? copyRow<true> : copyRow<false>)(row, target.pixel(within.x, y), within.width);
    }
}

}  // namespace lumivastor::pipewire
