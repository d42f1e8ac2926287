// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/remaining_time.h"

#include <gtest/gtest.h>

namespace lumivastor::editor {
namespace {

TEST(RemainingTime, IsUnknownAtFirst) {
    RemainingTime remaining(100);
    EXPECT_EQ(remaining.update(0.5, 101), std::nullopt);
    EXPECT_EQ(remaining.update(0.005, 110), std::nullopt);
}

TEST(RemainingTime, FollowsThePaceSoFar) {
    RemainingTime remaining(100);
    EXPECT_DOUBLE_EQ(remaining.update(0.25, 110).value(), 30);
    EXPECT_DOUBLE_EQ(remaining.update(0.5, 112).value(), 12);
    EXPECT_DOUBLE_EQ(remaining.update(1, 120).value(), 0);
}

TEST(RemainingTime, ChangesOnceASecondAtMost) {
    RemainingTime remaining(0);
    EXPECT_DOUBLE_EQ(remaining.update(0.5, 10).value(), 10);
    EXPECT_DOUBLE_EQ(remaining.update(0.6, 10.9).value(), 10);
    EXPECT_DOUBLE_EQ(remaining.update(0.5, 11).value(), 11);
}

}  // namespace
}  // namespace lumivastor::editor
