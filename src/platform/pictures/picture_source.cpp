// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/picture_source.h"

#include <cstring>

namespace lumivastor::platform {

void fillBlack(imaging::BgraPremultipliedBuffer& picture, const PixelRect& rect) {
    constexpr std::uint32_t kBlack = 0xff000000;
    for (int y = rect.y; y < rect.maxY(); ++y) {
        for (int x = rect.x; x < rect.maxX(); ++x) std::memcpy(picture.pixel(x, y), &kBlack, 4);
    }
}

}  // namespace lumivastor::platform
