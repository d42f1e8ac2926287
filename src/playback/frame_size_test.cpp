// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/frame_size.h"

#include <gtest/gtest.h>

namespace lumivastor::playback {
namespace {

TEST(FittedFrame, KeepsTheCanvasShapeAndNeverGrows) {
    EXPECT_EQ(fittedFrame({2560, 1440}, {1280, 1280}), (FrameSize{1280, 720}));
    EXPECT_EQ(fittedFrame({2560, 1440}, {5000, 720}), (FrameSize{1280, 720}));
    EXPECT_EQ(fittedFrame({1280, 720}, {9999, 9999}), (FrameSize{1280, 720}));
    EXPECT_EQ(fittedFrame({1280, 720}, {1, 1}), (FrameSize{1, 1}));
    EXPECT_EQ(fittedFrame({1000, 10}, {100, 100}), (FrameSize{100, 1}));
}

}  // namespace
}  // namespace lumivastor::playback
