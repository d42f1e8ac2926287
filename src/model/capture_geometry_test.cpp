// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/capture_geometry.h"

#include <gtest/gtest.h>

namespace lumivastor::model {
namespace {

Geometry secondDisplay() {
    return Geometry(7, {100, 50, 640, 360}, 2, {1280, 720}, [](std::uint32_t id) {
        return id == 7 ? Rect{1920, -200, 2560, 1440} : Rect{};
    });
}

TEST(Geometry, LooksTheDisplayBoundsUpById) {
    EXPECT_EQ(secondDisplay().displayBounds, (Rect{1920, -200, 2560, 1440}));
}

TEST(Geometry, TurnsGlobalPointsIntoPixels) {
    const Geometry geometry = secondDisplay();
    EXPECT_EQ(geometry.sourcePixel({2020, -150}), (Point{0, 0}));
    EXPECT_EQ(geometry.sourcePixel({2340, 30}), (Point{640, 360}));
    EXPECT_EQ(geometry.sourcePixel({2660, 210}), (Point{1280, 720}));
}

TEST(Geometry, APointerAboveOrLeftOfTheContentGivesNegativePixels) {
    EXPECT_EQ(secondDisplay().sourcePixel({2019, -151}), (Point{-2, -2}));
}

TEST(Geometry, NormalizesByThePixelSize) {
    EXPECT_EQ(secondDisplay().normalized({320, 540}), (Point{0.25, 0.75}));
    EXPECT_EQ(secondDisplay().normalized({-1280, 1440}), (Point{-1, 2}));
}

TEST(Geometry, NormalizesToZeroWithoutArea) {
    Geometry geometry = secondDisplay();
    for (const Size size : {Size{0, 0}, {0, 720}, {1280, 0}, {-1, 720}}) {
        geometry.pixelSize = size;
        EXPECT_EQ(geometry.normalized({320, 540}), (Point{0, 0}));
    }
}

TEST(Geometry, FlipsBottomLeftPointsAtTheFirstScreen) {
    EXPECT_EQ(Geometry::globalPoint({30, 100}, 1080), (Point{30, 980}));
    EXPECT_EQ(Geometry::globalPoint({30, 100}, std::nullopt), (Point{30, -100}));
}

}  // namespace
}  // namespace lumivastor::model
