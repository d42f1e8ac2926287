// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/stand_in.h"

#include <gtest/gtest.h>

namespace lumivastor::playback {
namespace {

TEST(StandIn, ASharpPictureMayBeFurtherAwayThanABlurredOne) {
    EXPECT_TRUE(isDecodedBetter(100, std::nullopt));
    EXPECT_TRUE(isDecodedBetter(0, 0));
    EXPECT_TRUE(isDecodedBetter(1.4, 1));
    EXPECT_FALSE(isDecodedBetter(1.6, 1));
    EXPECT_FALSE(isDecodedBetter(5, 0));
}

TEST(StandIn, ComesWithinADisplayFrameAndNotMoreOften) {
    EXPECT_EQ(standInDue(10, std::nullopt, std::nullopt), 10);
    EXPECT_EQ(standInDue(10, std::nullopt, 3), 10);
    EXPECT_GT(standInDue(10, std::nullopt, 0.02), 10) << "the next picture may come sooner";
    EXPECT_LT(standInDue(10, std::nullopt, 0.02), 10 + 1.0 / 60 / 2) << "there is time to paint it";
    EXPECT_EQ(standInDue(10, 3, 0.02), standInDue(10, std::nullopt, 0.02));
    EXPECT_DOUBLE_EQ(standInDue(10, 9.999, std::nullopt), 9.999 + 1.0 / 60);
}

TEST(PlayheadMotion, ExpectsThePlayheadToGoOnAsItDid) {
    PlayheadMotion motion;
    EXPECT_EQ(motion.ahead(), std::nullopt);
    motion.moved(10, 1);
    EXPECT_EQ(motion.ahead(), std::nullopt);
    motion.moved(10.05, 1.1);
    ASSERT_TRUE(motion.ahead().has_value());
    EXPECT_DOUBLE_EQ(motion.ahead()->start, 10.05);
    EXPECT_NEAR(motion.ahead()->end, 10.3, 1e-9) << "half a second at half speed";
    motion.moved(9.95, 1.2);
    EXPECT_NEAR(motion.ahead()->start, 9.45, 1e-9);
    EXPECT_DOUBLE_EQ(motion.ahead()->end, 9.95);
}

TEST(PlayheadMotion, ExpectsNoMoreThanIsDecodedInTime) {
    PlayheadMotion motion;
    motion.moved(10, 1);
    motion.moved(10.3, 1.1);
    EXPECT_NEAR(motion.ahead()->end, 11.3, 1e-9) << "as much as is kept";
    motion.moved(20, 1.2);
    EXPECT_EQ(motion.ahead(), std::nullopt) << "a leap";
    motion.moved(20.1, 1.3);
    motion.moved(20.2, 5);
    EXPECT_EQ(motion.ahead(), std::nullopt) << "a click after a rest";
    motion.moved(20.3, 5);
    EXPECT_EQ(motion.ahead(), std::nullopt) << "at the same time";
    motion.moved(20.3, 5.1);
    EXPECT_EQ(motion.ahead(), std::nullopt) << "at the same place";
    motion.moved(20.4, 5.2);
    EXPECT_NE(motion.ahead(), std::nullopt);
    motion.reset();
    EXPECT_EQ(motion.ahead(), std::nullopt);
}

}  // namespace
}  // namespace lumivastor::playback
