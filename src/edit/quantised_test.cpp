// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/quantised.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

namespace lumivastor::edit {
namespace {

TEST(Quantised, SizesChangeByAThirtySecondOfAPixelAtMost) {
    std::set<double> places;
    for (double pixels = -3; pixels <= 3; pixels += 1.0 / 512) {
        const double place = quantised(pixels);
        EXPECT_LE(std::abs(place - pixels), 1.0 / 32);
        EXPECT_EQ(place, quantised(place));
        places.insert(place);
    }
    EXPECT_EQ(places.size(), 6u * 16 + 1);
    EXPECT_EQ(quantised(17), 17);
}

TEST(Quantised, MagnifiedPlacesMoveByAThirtySecondOfAPixelAtMost) {
    for (const double scale : {1.0, 1.0001, 1.6, 2.0, 3.0, 7.9}) {
        for (double x = 100; x <= 102; x += 1.0 / 700) {
            const Point place = quantisedPlace({x, 2 * x}, scale);
            EXPECT_LE(std::abs(place.x - x) * scale, 1.0 / 32);
            EXPECT_LE(std::abs(place.y - 2 * x) * scale, 1.0 / 32);
        }
    }
    EXPECT_EQ(quantisedPlace({3.3, 4.4}, 1.2), quantisedPlace({3.3, 4.4}, 1.9)) << "no wobble while the camera zooms";
    EXPECT_EQ(quantisedPlace({3, 4}, 0.5), (Point{3, 4}));
}

TEST(Quantised, OpacitiesKeepEveryStepThatEightBitsShow) {
    std::set<double> opacities;
    for (int i = 0; i <= 10000; ++i) {
        const double opacity = i / 10000.0;
        EXPECT_LE(std::abs(quantisedOpacity(opacity) - opacity), 0.5 / 255 + 1e-12);
        opacities.insert(quantisedOpacity(opacity));
    }
    EXPECT_EQ(opacities.size(), 256u);
    EXPECT_EQ(quantisedOpacity(0), 0);
    EXPECT_EQ(quantisedOpacity(1), 1);
}

TEST(Quantised, NoCameraIsNoCamera) {
    EXPECT_EQ(quantised(ZoomTransform{}, {2560, 1440}), ZoomTransform{});
    EXPECT_EQ(quantised(ZoomTransform{}, {333, 187}), ZoomTransform{});
}

TEST(Quantised, TheCameraMovesNoCornerVisiblyAndShowsNothingBesideTheCanvas) {
    std::mt19937 random(3);
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    for (const PixelSize canvas : {PixelSize{2560, 1440}, {1920, 1080}, {333, 187}, {720, 1280}, {1, 1}}) {
        for (int round = 0; round < 500; ++round) {
            const double scale = round % 2 == 0 ? between(1, 1.01) : between(1, 8);
            // The far ends of the range are where the view touches the canvas's edges.
            const auto shift = [&](int length) {
                const double share = std::clamp(between(-0.2, 1.2), 0.0, 1.0);
                return share * (length - length * scale);
            };
            const ZoomTransform exact{scale, shift(canvas.width), shift(canvas.height)};
            const ZoomTransform rounded = quantised(exact, canvas);
            for (const Point corner : {Point{0, 0}, Point{double(canvas.width), double(canvas.height)}}) {
                EXPECT_LE(std::abs(rounded.apply(corner).x - exact.apply(corner).x), 1.0 / 256 + 1e-9);
                EXPECT_LE(std::abs(rounded.apply(corner).y - exact.apply(corner).y), 1.0 / 256 + 1e-9);
            }
            EXPECT_LE(rounded.dx, 0);
            EXPECT_LE(rounded.dy, 0);
            EXPECT_GE(rounded.apply({double(canvas.width), 0}).x, canvas.width - 1e-9);
            EXPECT_GE(rounded.apply({0, double(canvas.height)}).y, canvas.height - 1e-9);
        }
    }
}

}  // namespace
}  // namespace lumivastor::edit
