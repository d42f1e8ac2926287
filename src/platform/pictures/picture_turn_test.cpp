// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/picture_turn.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>

namespace lumivastor::platform {
namespace {

constexpr PixelSize kBuffer{5, 3};

class PictureTurns : public testing::TestWithParam<std::uint32_t> {};

INSTANTIATE_TEST_SUITE_P(All, PictureTurns, testing::Range(0U, 8U));

TEST_P(PictureTurns, EveryPixelHasAPlaceOfItsOwn) {
    const PictureTurn turn = pictureTurn(GetParam());
    const BufferPlace at = placeInBuffer(kBuffer, turn);
    const PixelSize upright = uprightSize(kBuffer, turn);
    EXPECT_EQ(upright, swapsSides(turn) ? (PixelSize{3, 5}) : kBuffer);
    std::set<std::pair<int, int>> places;
    for (int y = 0; y < upright.height; ++y) {
        for (int x = 0; x < upright.width; ++x) {
            const std::pair place(at.x0 + x * at.xx + y * at.xy, at.y0 + x * at.yx + y * at.yy);
            EXPECT_TRUE(place.first >= 0 && place.first < 5 && place.second >= 0 && place.second < 3);
            places.insert(place);
            EXPECT_EQ(rectInBuffer({x, y, 1, 1}, kBuffer, turn), (PixelRect{place.first, place.second, 1, 1}));
            EXPECT_EQ(uprightRect({place.first, place.second, 1, 1}, kBuffer, turn), (PixelRect{x, y, 1, 1}));
        }
    }
    EXPECT_EQ(places.size(), 15U);
}

TEST_P(PictureTurns, RectanglesComeBack) {
    const PictureTurn turn = pictureTurn(GetParam());
    const PixelRect rect{1, 0, 2, 3};
    EXPECT_EQ(rectInBuffer(uprightRect(rect, kBuffer, turn), kBuffer, turn), rect);
    const PixelSize upright = uprightSize(kBuffer, turn);
    EXPECT_EQ(rectInBuffer({0, 0, upright.width, upright.height}, kBuffer, turn), (PixelRect{0, 0, 5, 3}));
    EXPECT_TRUE(rectInBuffer({2, 2, 0, 1}, kBuffer, turn).isEmpty());
}

TEST(PictureTurn, OfAnUnknownNumberIsNone) {
    EXPECT_EQ(pictureTurn(8), PictureTurn::none);
    EXPECT_EQ(pictureTurn(0xffffffffU), PictureTurn::none);
}

}  // namespace
}  // namespace lumivastor::platform
