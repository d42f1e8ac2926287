// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/preview_layout.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lumivastor::editor {
namespace {

constexpr PixelSize kCanvas{2560, 1440};

TEST(PreviewLayout, TheCanvasKeepsItsShapeInAnyViewAndLiesOnWholePixels) {
    for (int width = 1; width < 1000; width += 7) {
        for (int height = 1; height < 700; height += 11) {
            const Rect shown = shownCanvas({width, height}, kCanvas);
            EXPECT_GE(shown.x, 0);
            EXPECT_GE(shown.y, 0);
            EXPECT_LE(shown.maxX(), width);
            EXPECT_LE(shown.maxY(), height);
            EXPECT_TRUE(shown.width == width || shown.height == height);
            EXPECT_EQ(shown.x, std::floor(shown.x));
            EXPECT_EQ(shown.width, std::floor(shown.width));
            EXPECT_NEAR(shown.width * 9, shown.height * 16, 16);
        }
    }
}

TEST(PreviewLayout, AViewWithoutAreaShowsNothing) {
    EXPECT_TRUE(shownCanvas({0, 100}, kCanvas).isEmpty());
    EXPECT_EQ(canvasRect({0, 0, 10, 10}, {}, kCanvas), Rect{});
}

TEST(PreviewLayout, ViewRectanglesAreTurnedOverOntoTheCanvas) {
    const Rect shown = shownCanvas({800, 490}, kCanvas);
    ASSERT_EQ(shown, (Rect{0, 20, 800, 450}));
    EXPECT_EQ(canvasRect(shown, shown, kCanvas), (Rect{0, 0, 2560, 1440}));
    // A quarter at the top left.
    EXPECT_EQ(canvasRect({0, 20, 400, 225}, shown, kCanvas), (Rect{0, 720, 1280, 720}));
    // From the margin below into the picture.
    EXPECT_EQ(canvasRect({100, 460, 10, 20}, shown, kCanvas), (Rect{320, -32, 32, 64}));
}

TEST(PreviewLayout, CanvasRectanglesComeBackToTheView) {
    const Rect shown = shownCanvas({800, 490}, kCanvas);
    EXPECT_EQ(viewRect({0, 0, 2560, 1440}, shown, kCanvas), shown);
    for (double x = -100; x < 900; x += 37) {
        for (double y = -50; y < 600; y += 41) {
            const Rect there{x, y, 120, 33};
            const Rect back = viewRect(canvasRect(there, shown, kCanvas), shown, kCanvas);
            EXPECT_NEAR(back.x, there.x, 1e-9);
            EXPECT_NEAR(back.y, there.y, 1e-9);
            EXPECT_NEAR(back.width, there.width, 1e-9);
            EXPECT_NEAR(back.height, there.height, 1e-9);
        }
    }
}

}  // namespace
}  // namespace lumivastor::editor
