// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/output_layout.h"

#include <gtest/gtest.h>

namespace lumivastor::wayland {
namespace {

const Output kLeft{"DP-1", {1920, 1080}, {0, 0, 1920, 1080}};
const Output kRight{"DP-2", {3840, 2160}, {1920, 0, 1920, 1080}};
const Output kFractional{"eDP-1", {2880, 1800}, {3840, 0, 1920, 1200}};

TEST(OutputLayout, FindsTheScreenByItsLogicalFrame) {
    const auto display = displayOf(7, {3840, 2160}, {1920, 0, 1920, 1080}, {kLeft, kRight, kFractional});
    EXPECT_EQ(display.id, 7u);
    EXPECT_EQ(display.name, "DP-2");
    EXPECT_EQ(display.scale, 2);
    EXPECT_EQ(display.frame, (Rect{1920, 0, 1920, 1080}));
    EXPECT_EQ(display.pixelFrame(), (Rect{1920, 0, 3840, 2160}));
}

// As the portal of wlroots tells it, always at the corner and in pixels.
TEST(OutputLayout, FindsTheScreenByItsPixelsWhenThePlaceIsWrong) {
    const auto display = displayOf(1, {2880, 1800}, {0, 0, 2880, 1800}, {kLeft, kRight, kFractional});
    EXPECT_EQ(display.name, "eDP-1");
    EXPECT_EQ(display.scale, 1.5);
    EXPECT_EQ(display.frame, (Rect{3840, 0, 1920, 1200}));
}

TEST(OutputLayout, TwoScreensOfOneSizeAreToldApartByTheirCorners) {
    const Output other{"DP-3", {1920, 1080}, {1920, 0, 1920, 1080}};
    EXPECT_EQ(displayOf(1, {1920, 1080}, {1920, 0, 1920, 1080}, {kLeft, other}).name, "DP-3");
    EXPECT_EQ(displayOf(1, {1920, 1080}, {0, 0, 1920, 1080}, {kLeft, other}).name, "DP-1");
    EXPECT_FALSE(isTheOnlyOne({1920, 1080}, {kLeft, other, kRight}));
    EXPECT_TRUE(isTheOnlyOne({3840, 2160}, {kLeft, other, kRight}));
    EXPECT_FALSE(isTheOnlyOne({1, 1}, {kLeft, other, kRight}));
    // Nothing told: neither is certain, so none is named.
    const auto unknown = displayOf(1, {1920, 1080}, {}, {kLeft, other});
    EXPECT_EQ(unknown.name, "");
    EXPECT_EQ(unknown.scale, 1);
}

TEST(OutputLayout, WithoutScreensTheToldSizeGivesTheScale) {
    EXPECT_EQ(displayOf(1, {3840, 2160}, {0, 0, 1920, 1080}, {}).scale, 2);
    EXPECT_EQ(displayOf(1, {3840, 2160}, {}, {}).scale, 1);
    EXPECT_EQ(displayOf(1, {1920, 1080}, {0, 0, 3840, 2160}, {}).scale, 1);
    EXPECT_EQ(displayOf(1, {1920, 1080}, {0, 0, 0, 0}, {}).scale, 1);
    EXPECT_EQ(displayOf(1, {1920, 1080}, {0, 0, -1, 5}, {}).scale, 1);
}

TEST(OutputLayout, ATurnedScreenMayComeAsItLiesInMemory) {
    const Output upright{"DP-1", {1080, 1920}, {0, 0, 540, 960}};
    EXPECT_EQ(uprightSize({1920, 1080}, {upright}), (PixelSize{1080, 1920}));
    EXPECT_EQ(uprightSize({1080, 1920}, {upright}), (PixelSize{1080, 1920}));
    EXPECT_EQ(uprightSize({1920, 1080}, {upright, kLeft}), (PixelSize{1920, 1080}));
    EXPECT_EQ(uprightSize({800, 600}, {upright}), (PixelSize{800, 600}));
    EXPECT_EQ(uprightSize({800, 600}, {}), (PixelSize{800, 600}));
}

TEST(OutputLayout, WindowsHaveTheScreensCommonScale) {
    EXPECT_EQ(windowScale({800, 600}, {}, {kRight, kRight}), 2);
    EXPECT_EQ(windowScale({800, 600}, {}, {kLeft, kRight}), 1);
    EXPECT_EQ(windowScale({800, 600}, {{}, {}, 400, 300}, {kLeft, kRight}), 2);
    EXPECT_EQ(windowScale({800, 600}, {}, {}), 1);
}

}  // namespace
}  // namespace lumivastor::wayland
