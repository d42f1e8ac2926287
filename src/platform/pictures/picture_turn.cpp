// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/picture_turn.h"

#include <algorithm>

namespace lumivastor::platform {

PictureTurn pictureTurn(std::uint32_t number) {
    constexpr auto kLast = static_cast<std::uint32_t>(PictureTurn::flippedThreeQuarters);
    return number > kLast ? PictureTurn::none : static_cast<PictureTurn>(number);
}

bool swapsSides(PictureTurn turn) {
    return (static_cast<std::uint32_t>(turn) & 1U) != 0;
}

PixelSize uprightSize(PixelSize buffer, PictureTurn turn) {
    return swapsSides(turn) ? PixelSize{buffer.height, buffer.width} : buffer;
}

BufferPlace placeInBuffer(PixelSize buffer, PictureTurn turn) {
    const int right = buffer.width - 1;
    const int bottom = buffer.height - 1;
    switch (turn) {
        case PictureTurn::none:
            break;
        case PictureTurn::quarter:
            return {0, bottom, 0, 1, -1, 0};
        case PictureTurn::half:
            return {right, bottom, -1, 0, 0, -1};
        case PictureTurn::threeQuarters:
            return {right, 0, 0, -1, 1, 0};
        case PictureTurn::flipped:
            return {right, 0, -1, 0, 0, 1};
        case PictureTurn::flippedQuarter:
            return {0, 0, 0, 1, 1, 0};
        case PictureTurn::flippedHalf:
            return {0, bottom, 1, 0, 0, -1};
        case PictureTurn::flippedThreeQuarters:
            return {right, bottom, 0, -1, -1, 0};
    }
    return {};
}

PixelRect rectInBuffer(const PixelRect& upright, PixelSize buffer, PictureTurn turn) {
    if (upright.isEmpty()) return {};
    const BufferPlace at = placeInBuffer(buffer, turn);
    const auto x = [&](int px, int py) { return at.x0 + px * at.xx + py * at.xy; };
    const auto y = [&](int px, int py) { return at.y0 + px * at.yx + py * at.yy; };
    const int right = upright.maxX() - 1;
    const int bottom = upright.maxY() - 1;
    const PixelSize size = uprightSize({upright.width, upright.height}, turn);
    return {std::min(x(upright.x, upright.y), x(right, bottom)), std::min(y(upright.x, upright.y), y(right, bottom)),
            size.width, size.height};
}

PixelRect uprightRect(const PixelRect& inBuffer, PixelSize buffer, PictureTurn turn) {
    // A turn back is the turn itself, but for the two that go on in the other direction.
    PictureTurn back = turn;
    if (turn == PictureTurn::quarter) back = PictureTurn::threeQuarters;
    if (turn == PictureTurn::threeQuarters) back = PictureTurn::quarter;
    return rectInBuffer(inBuffer, uprightSize(buffer, turn), back);
}

}  // namespace lumivastor::platform
