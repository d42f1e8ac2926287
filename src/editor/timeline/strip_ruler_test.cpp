// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_ruler.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lumivastor::editor {
namespace {

std::vector<std::string> labels(const Interval& visible, std::int64_t fps, double width = 1000) {
    std::vector<std::string> all;
    for (const RulerTick& tick : rulerTicks(TimeScale(visible, 0, width), visible.end, fps, 80)) {
        if (!tick.label.empty()) all.push_back(tick.label);
    }
    return all;
}

TEST(StripRuler, LabelsAreTimesAndNearbyFrames) {
    EXPECT_EQ(labels({0, 10}, 30).front(), "0:00");
    EXPECT_EQ(labels({0, 10}, 30).at(3), "0:03");
    EXPECT_EQ(labels({3590, 3610}, 30),
              (std::vector<std::string>{"59:50", "59:52", "59:54", "59:56", "59:58", "1:00:00", "1:00:02", "1:00:04",
                                        "1:00:06", "1:00:08", "1:00:10"}));
    EXPECT_EQ(labels({2, 2.4}, 30),
              (std::vector<std::string>{"0:02", "Bild 61", "Bild 62", "Bild 63", "Bild 64", "Bild 65", "Bild 66",
                                        "Bild 67", "Bild 68", "Bild 69", "Bild 70", "Bild 71", "Bild 72"}));
    EXPECT_EQ(labels({0, 3 * 3600}, 60).at(1), "15:00");
    EXPECT_EQ(labels({0, 3 * 3600}, 60).back(), "3:00:00");
}

TEST(StripRuler, TicksLieOnFramesAndLabelsApart) {
    for (const std::int64_t fps : {1, 24, 25, 30, 60, 144}) {
        for (double length = 12.0 / static_cast<double>(fps); length < 40'000; length *= 1.13) {
            const Interval visible{17.3, 17.3 + length};
            const auto ticks = rulerTicks(TimeScale(visible, 8, 1108), 1e9, fps, 70);
            ASSERT_FALSE(ticks.empty()) << fps << " " << length;
            double before = -1e9;
            double labelBefore = -1e9;
            for (const RulerTick& tick : ticks) {
                EXPECT_GE(tick.x, 8 - 0.1);
                EXPECT_LE(tick.x, 1108.1);
                EXPECT_GE(tick.x - before, 6 - 1e-6);
                before = tick.x;
                const double frame = TimeScale(visible, 8, 1108).secondsAt(tick.x) * static_cast<double>(fps);
                EXPECT_NEAR(frame, std::round(frame), 1e-3);
                if (tick.label.empty()) continue;
                EXPECT_GE(tick.x - labelBefore, 70 - 1e-6);
                labelBefore = tick.x;
            }
            EXPECT_LE(ticks.size(), 190u);
        }
    }
}

TEST(StripRuler, NothingIsBehindTheRecording) {
    const auto ticks = rulerTicks(TimeScale({0, 10}, 0, 1000), 6.2, 30, 80);
    EXPECT_NEAR(ticks.back().x, 620, 1);
}

TEST(StripRuler, WithoutLengthOrWidthThereAreNoTicks) {
    EXPECT_TRUE(rulerTicks(TimeScale({0, 0}, 8, 100), 0, 30, 80).empty());
    EXPECT_TRUE(rulerTicks(TimeScale({0, 10}, 8, 8), 10, 0, 80).empty());
}

TEST(StripRuler, ExactTimesHaveHundredths) {
    EXPECT_EQ(exactTime(0), "0:00.00");
    EXPECT_EQ(exactTime(63.256), "1:03.26");
    EXPECT_EQ(exactTime(3599.999), "1:00:00.00");
    EXPECT_EQ(clockTime(59.999), "0:59");
}

}  // namespace
}  // namespace lumivastor::editor
