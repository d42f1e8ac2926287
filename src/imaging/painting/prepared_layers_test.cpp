// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/prepared_layers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>

#include "support/golden_picture.h"

namespace lumivastor::imaging {
namespace {

std::filesystem::path golden(const std::string& name) {
    return std::filesystem::path(LUMI_IMAGING_TESTDATA) / (name + ".png");
}

void expectPixel(const BgraPremultipliedBuffer& picture, int x, int y, int blue, int green, int red, int alpha) {
    const std::uint8_t* pixel = picture.pixel(x, y);
    EXPECT_NEAR(pixel[0], blue, 1) << x << "," << y;
    EXPECT_NEAR(pixel[1], green, 1) << x << "," << y;
    EXPECT_NEAR(pixel[2], red, 1) << x << "," << y;
    EXPECT_NEAR(pixel[3], alpha, 1) << x << "," << y;
}

TEST(PreparedLayers, TheBackgroundRunsFromLightToDarkAndIsOpaque) {
    const RgbColour tone{0.2, 0.4, 0.8};
    const StudioBackground background(400, 300, tone);
    const auto& picture = background.pixels();
    // Top-left corner: 0.29, 0.58, 1 (limited); bottom-right: 0.11, 0.22, 0.44. The corners lie 250 pixels from the
    // middle, beyond the highlight's 240.
    expectPixel(picture, 0, 0, 255, 148, 74, 255);
    expectPixel(picture, 399, 299, 112, 56, 28, 255);
    // At the highlight's centre the gradient has run 0.482 of its way and 8 % white lie over it.
    const double t = (200.0 * 400 + 135.0 * 300) / (400 * 400 + 300 * 300);
    const auto expected = [&](double light, double dark) {
        return static_cast<int>(255 * ((light + (dark - light) * t) * 0.92 + 0.08));
    };
    expectPixel(picture, 200, 135, expected(1, 0.44), expected(0.58, 0.22), expected(0.29, 0.11), 255);
    for (int y = 0; y < 300; ++y) {
        for (int x = 0; x < 400; ++x) ASSERT_EQ(picture.pixel(x, y)[3], 255);
    }
}

TEST(PreparedLayers, TheMatteIsWhiteInsideAndCountsRowsFromBelow) {
    const auto picture = makeRoundedMatte(100, 80, {10, 20, 50, 30}, 8);
    expectPixel(picture, 35, 80 - 21, 255, 255, 255, 255);  // just above the lower edge
    expectPixel(picture, 35, 80 - 20, 0, 0, 0, 0);          // just below it
    expectPixel(picture, 35, 30, 255, 255, 255, 255);       // just below the upper edge
    expectPixel(picture, 35, 29, 0, 0, 0, 0);
    expectPixel(picture, 10, 30, 0, 0, 0, 0);  // in the corner
    expectPixel(picture, 10, 45, 255, 255, 255, 255);
}

TEST(PreparedLayers, TheScreenShadowFallsBelow) {
    const auto picture = makeRoundedShadow(400, 300, {100, 75, 200, 150}, 10, kScreenShadow);
    int lowest = 0;
    int highest = 0;
    for (int x = 150; x < 250; ++x) {
        highest = std::max<int>(highest, picture.pixel(x, 40)[3]);  // 35 above the rectangle
        lowest = std::max<int>(lowest, picture.pixel(x, 259)[3]);   // 35 below it
    }
    EXPECT_GT(lowest, highest + 20);
    // The heaviest point lies 24 below the rectangle's middle; there the bell holds erf(100 / (35 sqrt 2)) times
    // erf(75 / (35 sqrt 2)) of the whole.
    const double share = std::erf(100 / (35 * std::sqrt(2.0))) * std::erf(75 / (35 * std::sqrt(2.0)));
    EXPECT_NEAR(picture.pixel(200, 150 + 24)[3], 255 * 0.55 * share, 1);
}

TEST(PreparedLayers, TheBubbleBorderLeavesTheInsideFree) {
    const auto picture = makeBubbleBorder(200, 200, {50, 50, 100, 100});
    expectPixel(picture, 100, 100, 0, 0, 0, 0);
    expectPixel(picture, 100, 60, 0, 0, 0, 0);
    expectPixel(picture, 51, 100, 217, 217, 217, 217);                      // the rim, white at 0.85
    EXPECT_GT(picture.pixel(100, 154)[3], picture.pixel(100, 45)[3] + 10);  // the shadow falls down
    EXPECT_EQ(picture.pixel(100, 170)[0], 0);
}

TEST(PreparedLayers, TheRingIsALineOfItsColour) {
    const auto picture = makeRing();
    ASSERT_EQ(picture.width(), 256);
    expectPixel(picture, 128, 12, 26, 107, 255, 255);
    expectPixel(picture, 128, 4, 26, 107, 255, 255);
    expectPixel(picture, 128, 2, 0, 0, 0, 0);
    expectPixel(picture, 128, 22, 0, 0, 0, 0);
    expectPixel(picture, 128, 128, 0, 0, 0, 0);
}

TEST(PreparedLayers, GoldenPictures) {
    expectGolden(StudioBackground(160, 90, {0.25, 0.35, 0.55}).pixels(), golden("background"));
    expectGolden(makeRoundedMatte(160, 90, {20.25, 12, 119.5, 66}, 9), golden("rounded_matte"));
    expectGolden(makeRoundedShadow(160, 90, {20.25, 22, 119.5, 56}, 9, {0.55, 12, 0, -6}), golden("rounded_shadow"));
    expectGolden(makeRing({64, 4, 5, {1, 0.42, 0.1}}), golden("ring"));
    expectGolden(makeEllipseMatte(64, 64, {10, 12.5, 40, 40}), golden("ellipse_matte"));
    expectGolden(makeBubbleBorder(96, 96, {24, 30, 48, 48}, {0.45, 16, 0, -6}), golden("bubble_border"));
}

TEST(PreparedLayers, EmptySizesAndRectanglesMakeEmptyPictures) {
    EXPECT_TRUE(StudioBackground(0, 0, {}).pixels().isEmpty());
    EXPECT_TRUE(makeRoundedMatte(0, 5, {0, 0, 1, 1}, 1).isEmpty());
    for (const auto& picture :
         {makeRoundedMatte(3, 3, {}, 4).pixel(1, 1)[3], makeEllipseMatte(3, 3, {}).pixel(1, 1)[3],
          makeRoundedShadow(3, 3, {}, 4, kScreenShadow).pixel(1, 1)[3], makeBubbleBorder(3, 3, {}).pixel(1, 1)[3]}) {
        EXPECT_EQ(picture, 0);
    }
}

TEST(PreparedLayers, EqualInputsReuseTheLayer) {
    PreparedLayers layers;
    const auto first = layers.background(40, 30, {0.1, 0.2, 0.3});
    EXPECT_EQ(layers.background(40, 30, {0.1, 0.2, 0.3}), first);
    EXPECT_NE(layers.background(40, 30, {0.1, 0.2, 0.4}), first);
    const auto matte = layers.roundedMatte(40, 30, {5, 5, 10, 10}, 3);
    EXPECT_EQ(layers.roundedMatte(40, 30, {5, 5, 10, 10}, 3), matte);
    EXPECT_NE(layers.roundedMatte(40, 30, {5, 5, 10, 10}, 4), matte);
    EXPECT_EQ(layers.ring(), layers.ring());
    const auto shadow = layers.roundedShadow(40, 30, {5, 5, 10, 10}, 3);
    EXPECT_EQ(layers.roundedShadow(40, 30, {5, 5, 10, 10}, 3), shadow);
    EXPECT_EQ(layers.ellipseMatte(9, 9, {1, 1, 5, 5}), layers.ellipseMatte(9, 9, {1, 1, 5, 5}));
    EXPECT_EQ(layers.bubbleBorder(9, 9, {1, 1, 5, 5}), layers.bubbleBorder(9, 9, {1, 1, 5, 5}));
}

}  // namespace
}  // namespace lumivastor::imaging
