// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/picture_source.h"

#include <cstring>

namespace lumivastor::x11 {

void fillBlack(imaging::BgraPremultipliedBuffer& picture, const platform::PixelRect& rect) {
    constexpr std::uint32_t kBlack = 0xff000000;
    for (int y = rect.y; y < rect.maxY(); ++y) {
        for (int x = rect.x; x < rect.maxX(); ++x) std::memcpy(picture.pixel(x, y), &kBlack, 4);
    }
}

}  // namespace lumivastor::x11
