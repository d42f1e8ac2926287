// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "base/pixel_rect.h"
#include "base/pixel_size.h"

namespace lumivastor::platform {

/// How the pixels of a buffer lie that was made for a screen that is turned or mirrored. Numbered as Wayland and
/// PipeWire number it.
enum class PictureTurn : std::uint32_t {
    none,
    quarter,
    half,
    threeQuarters,
    flipped,
    flippedQuarter,
    flippedHalf,
    flippedThreeQuarters
};

/// `none` for a number that means nothing.
PictureTurn pictureTurn(std::uint32_t number);

/// Whether the upright picture's width is the buffer's height.
bool swapsSides(PictureTurn turn);

/// The size of the upright picture.
PixelSize uprightSize(PixelSize buffer, PictureTurn turn);

/// Where the upright picture's pixels are in a buffer: (x, y) is at (x0 + x * xx + y * xy, y0 + x * yx + y * yy).
struct BufferPlace {
    int x0 = 0;
    int y0 = 0;
    int xx = 1;
    int xy = 0;
    int yx = 0;
    int yy = 1;
};
BufferPlace placeInBuffer(PixelSize buffer, PictureTurn turn);

/// A rectangle of the upright picture, in the buffer's pixels, and the other way round.
PixelRect rectInBuffer(const PixelRect& upright, PixelSize buffer, PictureTurn turn);
PixelRect uprightRect(const PixelRect& inBuffer, PixelSize buffer, PictureTurn turn);

}  // namespace lumivastor::platform
