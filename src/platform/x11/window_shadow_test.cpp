// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/window_shadow.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivastor::x11 {
namespace {

constexpr PixelRect kInside{100, 50, 400, 300};

PixelRect without(const std::vector<std::uint32_t>& extents) {
    return withoutShadow(kInside, extents);
}

TEST(WindowShadow, IsTakenOffEachSide) {
    EXPECT_EQ(without({10, 20, 5, 15}), (PixelRect{110, 55, 370, 280}));
    EXPECT_EQ(without({0, 0, 0, 0}), kInside);
}

TEST(WindowShadow, CountsForNothingWhereItMakesNoSense) {
    EXPECT_EQ(without({}), kInside);
    EXPECT_EQ(without({1, 2, 3}), kInside);
    EXPECT_EQ(without({200, 200, 0, 0}), kInside);
    EXPECT_EQ(without({0xffffffff, 0xffffffff, 0, 0}), kInside);
}

}  // namespace
}  // namespace lumivastor::x11
