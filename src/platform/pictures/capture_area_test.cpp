// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/capture_area.h"

#include <gtest/gtest.h>

namespace lumivastor::platform {
namespace {

TEST(CaptureArea, IsTheWholeDisplayAtEveryScale) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        const Display display{1, "Right", {1280, 0, 1366 / scale, 768 / scale}, scale};
        EXPECT_EQ(captureArea(display, std::nullopt, {1366, 768}), (PixelRect{1280, 0, 1366, 768}));
    }
}

TEST(CaptureArea, PlacesARegionInPointsOfItsDisplay) {
    const Display display{1, "Right", {1280, 100, 640, 400}, 2};
    EXPECT_EQ(captureArea(display, Rect{10, 20, 100, 50}, {200, 100}), (PixelRect{1300, 140, 200, 100}));
    EXPECT_EQ(captureArea(display, Rect{-50, 0, 100, 50}, {200, 100}), (PixelRect{1180, 100, 200, 100}));
}

TEST(CaptureArea, CutsOffWhatThePictureDoesNotHold) {
    const Display display{1, "odd", {0, 0, 1367, 767}, 1};
    EXPECT_EQ(captureArea(display, std::nullopt, {1366, 766}), (PixelRect{0, 0, 1366, 766}));
    EXPECT_EQ(captureArea(display, Rect{0, 0, 11, 11}, {20, 20}), (PixelRect{0, 0, 11, 11}));
}

}  // namespace
}  // namespace lumivastor::platform
