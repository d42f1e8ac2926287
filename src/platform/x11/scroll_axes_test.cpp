// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/scroll_axes.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

namespace lumivastor::x11 {
namespace {

TEST(ScrollAxes, DivideByTheIncrementOfEachAxis) {
    ScrollAxes axes;
    axes.setDevice(9, {{2, true, 30}, {3, false, -15}});
    EXPECT_TRUE(axes.knows(9));
    EXPECT_FALSE(axes.knows(8));
    const std::pair<int, double> moved[] = {{0, 5}, {2, 15}, {3, 30}};
    EXPECT_EQ(axes.notches(9, moved), (std::pair{0.5, -2.0}));
    EXPECT_EQ(axes.notches(8, moved), (std::pair{0.0, 0.0}));
}

}  // namespace
}  // namespace lumivastor::x11
