// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/point_space.h"

#include <gtest/gtest.h>

namespace lumivastor::platform {
namespace {

TEST(PointSpace, KeepsTheDisplaysOriginAndScalesFromThere) {
    const PointSpace space{{1920, 0}, 2};
    EXPECT_EQ(space.pointFromPixel({1920, 0}), (Point{1920, 0}));
    EXPECT_EQ(space.pointFromPixel({2120, 100}), (Point{2020, 50}));
    EXPECT_EQ(space.rectFromPixels({2120, 100, 400, 300}), (Rect{2020, 50, 200, 150}));
}

TEST(PointSpace, WayThereAndBackIsExactAtTheUsualScales) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        const PointSpace space{{1280, 720}, scale};
        for (int pixel = 0; pixel < 4000; pixel += 7) {
            const Point there = space.pointFromPixel({1280.0 + pixel, 720.0 - pixel});
            const Point back = space.pixelFromPoint(there);
            EXPECT_NEAR(back.x, 1280 + pixel, 1e-9);
            EXPECT_NEAR(back.y, 720 - pixel, 1e-9);
        }
    }
}

}  // namespace
}  // namespace lumivastor::platform
