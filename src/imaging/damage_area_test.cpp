// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/damage_area.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace lumivastor::imaging {
namespace {

bool covers(const DamageArea& area, int x, int y) {
    return std::any_of(area.rects().begin(), area.rects().end(), [&](const PixelRect& rect) {
        return x >= rect.x && x < rect.maxX() && y >= rect.y && y < rect.maxY();
    });
}

TEST(DamageArea, KeepsFarPartsApart) {
    DamageArea area;
    EXPECT_TRUE(area.isEmpty());
    area.add({0, 0, 0, 10});
    EXPECT_TRUE(area.isEmpty());
    area.add({0, 0, 10, 10});
    area.add({1000, 900, 20, 20});
    ASSERT_EQ(area.rects().size(), 2U);
    area.add({5, 5, 2, 2});
    EXPECT_EQ(area.rects().size(), 2U);
}

TEST(DamageArea, JoinsWhatOverlapsAndWhatIsNearest) {
    DamageArea area;
    area.add({0, 0, 10, 10});
    area.add({20, 0, 10, 10});
    area.add({8, 0, 14, 10});
    ASSERT_EQ(area.rects().size(), 1U);
    EXPECT_EQ(area.rects()[0], (PixelRect{0, 0, 30, 10}));
    area.add({500, 0, 10, 10});
    area.add({0, 500, 10, 10});
    area.add({500, 500, 10, 10});
    area.add({512, 500, 10, 10});
    ASSERT_EQ(area.rects().size(), DamageArea::kMaximumRects);
    EXPECT_TRUE(covers(area, 515, 505));
    EXPECT_FALSE(covers(area, 250, 250));
}

TEST(DamageArea, NeverLacksAPixelAndNeverOverlapsItself) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        DamageArea area(round % 2 == 0 ? DamageArea::kMaximumRects : DamageArea::kManyRects);
        std::vector<PixelRect> added;
        for (int i = 0; i < 12; ++i) {
            const auto pick = [&](int maximum) { return static_cast<int>(random() % static_cast<unsigned>(maximum)); };
            added.push_back({pick(60), pick(60), 1 + pick(15), 1 + pick(15)});
            area.add(added.back());
            ASSERT_LE(area.rects().size(), area.maximumRects());
        }
        for (const PixelRect& rect : added) {
            for (int y = rect.y; y < rect.maxY(); ++y) {
                for (int x = rect.x; x < rect.maxX(); ++x) ASSERT_TRUE(covers(area, x, y));
            }
        }
        std::int64_t pixels = 0;
        for (int y = 0; y < 80; ++y) {
            for (int x = 0; x < 80; ++x) pixels += covers(area, x, y) ? 1 : 0;
        }
        ASSERT_EQ(area.area(), pixels);
        for (std::size_t i = 0; i < area.rects().size(); ++i) {
            for (std::size_t k = i + 1; k < area.rects().size(); ++k) {
                ASSERT_TRUE(intersection(area.rects()[i], area.rects()[k]).isEmpty());
            }
        }
    }
}

}  // namespace
}  // namespace lumivastor::imaging
