// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/frame_time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace lumivastor::editor {
namespace {

TEST(FrameTime, SnapsDownToTheFrameThatIsOn) {
    EXPECT_EQ(snappedToFrame(0, 60), 0);
    EXPECT_DOUBLE_EQ(snappedToFrame(1.999 / 60, 60), 1.0 / 60);
    EXPECT_DOUBLE_EQ(snappedToFrame(12.34, 30), 370.0 / 30);
    EXPECT_EQ(frameNumber(12.34, 30), 370);
}

TEST(FrameTime, EveryFrameIsReachedByAddingOneFrameAndLeftByTakingOne) {
    for (const std::int64_t fps : {24, 25, 30, 50, 60, 120}) {
        double t = 0;
        for (std::int64_t frame = 1; frame <= 20'000; ++frame) {
            t = snappedToFrame(t + frameLength(fps), fps);
            ASSERT_EQ(frameNumber(t, fps), frame) << fps;
        }
        for (std::int64_t frame = 19'999; frame >= 0; --frame) {
            t = snappedToFrame(t - frameLength(fps), fps);
            ASSERT_EQ(frameNumber(t, fps), frame) << fps;
        }
    }
}

TEST(FrameTime, TimesBeyondAllFramesStopAtTheLastNumber) {
    constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(frameNumber(1e300, 60), kLast);
    EXPECT_EQ(frameNumber(-1e300, 60), -kLast - 1);
    EXPECT_EQ(frameNumber(1e18, kLast), kLast);
    EXPECT_EQ(frameNumber(std::nan(""), 60), 0);
}

TEST(FrameTime, ADocumentWithoutAFrameRateCountsAsOneFrameASecond) {
    EXPECT_EQ(snappedToFrame(3.7, 0), 3);
    EXPECT_EQ(frameLength(-5), 1);
}

}  // namespace
}  // namespace lumivastor::editor
