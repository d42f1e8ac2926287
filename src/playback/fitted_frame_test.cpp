// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/fitted_frame.h"

#include <gtest/gtest.h>

namespace lumivastor::playback {
namespace {

TEST(FittedFrame, KeepsTheCanvasShapeAndNeverGrows) {
    EXPECT_EQ(fittedFrame({2560, 1440}, {1280, 1280}), (PixelSize{1280, 720}));
    EXPECT_EQ(fittedFrame({2560, 1440}, {5000, 720}), (PixelSize{1280, 720}));
    EXPECT_EQ(fittedFrame({1280, 720}, {9999, 9999}), (PixelSize{1280, 720}));
    EXPECT_EQ(fittedFrame({1280, 720}, {1, 1}), (PixelSize{1, 1}));
    EXPECT_EQ(fittedFrame({1000, 10}, {100, 100}), (PixelSize{100, 1}));
}

}  // namespace
}  // namespace lumivastor::playback
