// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/damage_history.h"

#include <gtest/gtest.h>

namespace lumivastor::imaging {
namespace {

DamageArea areaOf(const PixelRect& rect) {
    DamageArea area;
    area.add(rect);
    return area;
}

TEST(DamageHistory, AddsUpWhatABufferMissed) {
    DamageHistory history;
    EXPECT_EQ(history.add(std::nullopt), 1U);
    EXPECT_EQ(history.add(areaOf({0, 0, 10, 10})), 2U);
    EXPECT_EQ(history.add(areaOf({100, 0, 10, 10})), 3U);
    EXPECT_TRUE(history.since(3).value().isEmpty());
    const KnownDamage one = history.since(2);
    ASSERT_EQ(one.value().rects().size(), 1U);
    EXPECT_EQ(one->rects()[0], (PixelRect{100, 0, 10, 10}));
    EXPECT_EQ(history.since(1).value().rects().size(), 2U);
}

TEST(DamageHistory, KeepsAsManyPiecesAsTheFinestPictureHas) {
    DamageHistory history;
    history.add(std::nullopt);
    history.add(areaOf({0, 0, 10, 10}));
    DamageArea fine(DamageArea::kManyRects);
    for (int i = 1; i <= 9; ++i) fine.add({i * 100, 0, 10, 10});
    history.add(fine);
    history.add(areaOf({0, 500, 10, 10}));
    EXPECT_EQ(history.since(1).value().rects().size(), 11U);
}

TEST(DamageHistory, ABufferWithoutAPictureIsFilledWhole) {
    DamageHistory history;
    history.add(areaOf({0, 0, 10, 10}));
    EXPECT_FALSE(history.since(0));
}

TEST(DamageHistory, UnknownDamageIsEverything) {
    DamageHistory history;
    history.add({});
    history.add(std::nullopt);
    history.add(DamageArea());
    EXPECT_FALSE(history.since(1));
    EXPECT_TRUE(history.since(2));
}

TEST(DamageHistory, ForgetsWhatIsLongAgo) {
    DamageHistory history;
    for (std::size_t i = 0; i <= DamageHistory::kLength; ++i) history.add(areaOf({static_cast<int>(i) * 20, 0, 1, 1}));
    EXPECT_TRUE(history.since(1));
    history.add(DamageArea());
    EXPECT_FALSE(history.since(1));
    EXPECT_TRUE(history.since(2));
}

}  // namespace
}  // namespace lumivastor::imaging
