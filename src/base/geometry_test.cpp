// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/geometry.h"

#include <gtest/gtest.h>

namespace lumivastor {
namespace {

TEST(Rect, TheEdgesBelongToIt) {
    const Rect rect{10, 20, 30, 40};
    for (const Point corner : {Point{10, 20}, {40, 20}, {10, 60}, {40, 60}, {25, 40}}) {
        EXPECT_TRUE(rect.containsOrTouches(corner));
    }
    for (const Point outside : {Point{9.99, 20}, {40.01, 20}, {10, 60.01}, {25, 19.99}}) {
        EXPECT_FALSE(rect.containsOrTouches(outside));
    }
}

TEST(Rect, IntegralGrowsToWholeCoordinates) {
    EXPECT_EQ(integral(Rect{0.5, -0.5, 1, 1}), (Rect{0, -1, 2, 2}));
    EXPECT_EQ(integral(Rect{1, 2, 3, 4}), (Rect{1, 2, 3, 4}));
}

TEST(Rect, IntersectionOfNeighboursIsEmpty) {
    EXPECT_EQ(intersection(Rect{0, 0, 10, 10}, Rect{10, 0, 10, 10}), Rect{});
    EXPECT_EQ(intersection(Rect{0, 0, 10, 10}, Rect{5, 6, 10, 10}), (Rect{5, 6, 5, 4}));
}

}  // namespace
}  // namespace lumivastor
