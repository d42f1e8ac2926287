// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/drawing/bitmap_canvas.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace lumivastor::imaging {
namespace {

constexpr RgbaColour kWhite{1, 1, 1, 1};

// Opaque black.
BgraPremultipliedBuffer blackboard(int width, int height) {
    BgraPremultipliedBuffer buffer(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) buffer.pixel(x, y)[3] = 255;
    }
    return buffer;
}

int green(const BgraPremultipliedBuffer& buffer, int x, int y) {
    return buffer.pixel(x, y)[1];
}

// The smallest rectangle that holds all pixels which are no longer black; top-left origin.
Rect drawnPart(const BgraPremultipliedBuffer& buffer) {
    int left = buffer.width(), top = buffer.height(), right = 0, bottom = 0;
    for (int y = 0; y < buffer.height(); ++y) {
        for (int x = 0; x < buffer.width(); ++x) {
            if (green(buffer, x, y) == 0) continue;
            left = std::min(left, x);
            top = std::min(top, y);
            right = std::max(right, x + 1);
            bottom = std::max(bottom, y + 1);
        }
    }
    if (right == 0) return {};
    return {double(left), double(top), double(right - left), double(bottom - top)};
}

TEST(BitmapCanvas, FillsRectanglesExactlyWhereTheyLie) {
    auto buffer = blackboard(20, 10);
    BitmapCanvas(buffer).fillRect({3, 2, 5, 4}, kWhite);
    EXPECT_EQ(drawnPart(buffer), (Rect{3, 2, 5, 4}));
    EXPECT_EQ(green(buffer, 3, 2), 255);
    EXPECT_EQ(green(buffer, 7, 5), 255);
}

TEST(BitmapCanvas, BlendsByAlphaInTheColoursOrder) {
    auto buffer = blackboard(4, 4);
    BitmapCanvas(buffer).fillRect({0, 0, 4, 4}, {1, 0.5, 0, 0.5});
    EXPECT_EQ(buffer.pixel(1, 1)[0], 0);
    EXPECT_NEAR(buffer.pixel(1, 1)[1], 64, 1);
    EXPECT_NEAR(buffer.pixel(1, 1)[2], 128, 1);
    EXPECT_EQ(buffer.pixel(1, 1)[3], 255);
}

TEST(BitmapCanvas, StrokesHalfInsideAndHalfOutsideOfTheCircle) {
    auto buffer = blackboard(60, 60);
    BitmapCanvas(buffer).strokeCircle({30, 30}, 20, 4, kWhite);
    EXPECT_EQ(drawnPart(buffer), (Rect{8, 8, 44, 44}));
    EXPECT_EQ(green(buffer, 30, 30), 0);
    EXPECT_EQ(green(buffer, 49, 30), 255);  // 19.5 from the centre
    EXPECT_EQ(green(buffer, 50, 30), 255);
    EXPECT_EQ(green(buffer, 46, 30), 0);
    EXPECT_EQ(green(buffer, 53, 30), 0);
}

TEST(BitmapCanvas, FillsCircles) {
    auto buffer = blackboard(40, 40);
    BitmapCanvas(buffer).fillCircle({20, 20}, 8, kWhite);
    EXPECT_EQ(drawnPart(buffer), (Rect{12, 12, 16, 16}));
    EXPECT_EQ(green(buffer, 20, 20), 255);
    EXPECT_EQ(green(buffer, 13, 13), 0);  // the square's corner is outside of the circle
}

// Red top left, green top right, blue bottom left, transparent bottom right.
BgraPremultipliedBuffer fourQuarters(int edge) {
    BgraPremultipliedBuffer picture(edge, edge);
    for (int y = 0; y < edge; ++y) {
        for (int x = 0; x < edge; ++x) {
            const bool right = x >= edge / 2;
            const bool bottom = y >= edge / 2;
            if (right && bottom) continue;
            picture.pixel(x, y)[bottom ? 0 : right ? 1 : 2] = 255;
            picture.pixel(x, y)[3] = 255;
        }
    }
    return picture;
}

TEST(BitmapCanvas, PicturesStandUprightAndFillTheirRectangle) {
    const auto picture = fourQuarters(8);
    for (const double scale : {0.5, 1.0, 2.0, 3.0}) {
        auto buffer = blackboard(40, 40);
        BitmapCanvas(buffer).drawPicture(picture, {4, 6, 8 * scale, 8 * scale});
        const auto at = [&](double x, double y) {
            return buffer.pixel(4 + static_cast<int>(x * 8 * scale), 6 + static_cast<int>(y * 8 * scale));
        };
        EXPECT_EQ(at(0.25, 0.25)[2], 255) << scale;
        EXPECT_EQ(at(0.75, 0.25)[1], 255) << scale;
        EXPECT_EQ(at(0.25, 0.75)[0], 255) << scale;
        for (int i = 0; i < 3; ++i) EXPECT_EQ(at(0.75, 0.75)[i], 0) << scale;
        // Sharp up to the rectangle's edges, and nothing outside.
        EXPECT_EQ(buffer.pixel(4, 6)[2], 255) << scale;
        EXPECT_EQ(buffer.pixel(3, 6)[2], 0) << scale;
        EXPECT_EQ(buffer.pixel(4, 5)[2], 0) << scale;
    }
}

TEST(BitmapCanvas, WhatIsCutOffIsNotWrittenElsewhere) {
    auto buffer = blackboard(16, 16);
    BitmapCanvas canvas(buffer);
    canvas.drawPicture(fourQuarters(8), {-4, -4, 8, 8});
    canvas.fillCircle({40, 8}, 10, kWhite);
    EXPECT_EQ(drawnPart(buffer), (Rect{}));  // only the transparent quarter lies inside
}

TEST(BitmapCanvas, TextStandsOnItsBaseline) {
    auto buffer = blackboard(200, 60);
    BitmapCanvas(buffer).drawText("0.350", {20, 40}, "Menlo, DejaVu Sans Mono, monospace", 22, kWhite);
    const Rect drawn = drawnPart(buffer);
    // Digits are about 0.73 of the font's size high, do not reach below the baseline but for a round one's overshoot,
    // and are 0.6 of it wide.
    EXPECT_NEAR(drawn.maxY(), 40, 1);
    EXPECT_NEAR(drawn.height, 0.73 * 22, 2.5);
    EXPECT_GE(drawn.minX(), 20);
    EXPECT_NEAR(drawn.width, 5 * 0.6 * 22, 6);
}

TEST(BitmapCanvas, TextGrowsWithItsSize) {
    auto small = blackboard(400, 100);
    auto large = blackboard(400, 100);
    BitmapCanvas(small).drawText("8", {20, 80}, "DejaVu Sans Mono", 22, kWhite);
    BitmapCanvas(large).drawText("8", {20, 80}, "DejaVu Sans Mono", 66, kWhite);
    EXPECT_NEAR(drawnPart(large).height, 3 * drawnPart(small).height, 4);
}

TEST(BitmapCanvas, IgnoresWhatNoPictureCanShow) {
    auto buffer = blackboard(16, 16);
    const auto picture = fourQuarters(8);
    BitmapCanvas canvas(buffer);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double endless = std::numeric_limits<double>::infinity();
    for (const double bad : {nan, endless, -endless, 1e300, -1e300, 1e7}) {
        canvas.strokeCircle({bad, 8}, 4, 2, kWhite);
        canvas.strokeCircle({8, 8}, bad, 2, kWhite);
        canvas.strokeCircle({8, 8}, 4, bad, kWhite);
        canvas.fillCircle({8, bad}, 4, kWhite);
        canvas.fillCircle({8, 8}, bad, kWhite);
        canvas.fillRect({bad, 0, 4, 4}, kWhite);
        canvas.fillRect({0, 0, bad, 4}, kWhite);
        canvas.drawPicture(picture, {0, bad, 8, 8});
        canvas.drawPicture(picture, {0, 0, 8, bad});
        canvas.drawText("1", {bad, 12}, "monospace", 12, kWhite);
        canvas.drawText("1", {2, 12}, "monospace", bad, kWhite);
    }
    canvas.fillRect({0, 0, 0, 4}, kWhite);
    canvas.fillCircle({8, 8}, -3, kWhite);
    canvas.drawPicture(picture, {0, 0, 1e-300, 8});
    canvas.drawText("1", {2, 12}, "monospace", 0, kWhite);
    canvas.drawText("", {2, 12}, "monospace", 12, kWhite);
    canvas.drawPicture(BgraPremultipliedBuffer(), {0, 0, 8, 8});
    EXPECT_EQ(drawnPart(buffer), (Rect{}));
    // And it still works.
    canvas.fillRect({0, 0, 2, 2}, kWhite);
    EXPECT_EQ(drawnPart(buffer), (Rect{0, 0, 2, 2}));
}

TEST(BitmapCanvas, LeavesBuffersThatCannotBeDrawnIntoAsTheyAre) {
    BgraPremultipliedBuffer empty;
    BitmapCanvas(empty).fillRect({0, 0, 1, 1}, kWhite);
    auto wide = blackboard(32768, 1);
    BitmapCanvas(wide).fillRect({0, 0, 10, 1}, kWhite);
    EXPECT_EQ(drawnPart(wide), (Rect{}));
}

}  // namespace
}  // namespace lumivastor::imaging
