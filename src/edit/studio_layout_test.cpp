// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/studio_layout.h"

#include <gtest/gtest.h>

#include <random>

#include "base/recorder_error.h"

namespace lumivastor::edit {
namespace {

constexpr PixelSize kCanvas{2560, 1440};

model::CaptureInfo capture(std::int64_t width = 1920, std::int64_t height = 1080) {
    model::CaptureInfo info;
    info.pixelWidth = width;
    info.pixelHeight = height;
    info.duration = 10;
    return info;
}

StudioLayout laidOut(const model::ProjectSettings& settings, bool hasWebcam = false) {
    return layOutStudio(capture(), settings, kCanvas, hasWebcam);
}

void expectNear(const Rect& a, const Rect& b) {
    EXPECT_NEAR(a.x, b.x, 1e-9);
    EXPECT_NEAR(a.y, b.y, 1e-9);
    EXPECT_NEAR(a.width, b.width, 1e-9);
    EXPECT_NEAR(a.height, b.height, 1e-9);
}

TEST(StudioLayout, TheScreenIsCentredInsideThePaddedCanvas) {
    const StudioLayout layout = laidOut({});
    const double pad = 0.055 * 1440;
    EXPECT_NEAR(layout.contentScale, (1440 - 2 * pad) / 1080, 1e-12);
    EXPECT_NEAR(layout.screenRect.minY(), pad, 1e-9);
    EXPECT_NEAR(layout.screenRect.maxY(), 1440 - pad, 1e-9);
    EXPECT_NEAR(layout.screenRect.midX(), 1280, 1e-9);
    EXPECT_EQ(layout.cropRect, (Rect{0, 0, 1920, 1080}));
    EXPECT_EQ(layout.bubbleRect, Rect{});
}

TEST(StudioLayout, TheNarrowerDirectionDecidesTheScale) {
    model::ProjectSettings settings;
    settings.padding = 0;
    settings.cropTop = 0.4;
    const StudioLayout layout = laidOut(settings);
    EXPECT_EQ(layout.cropRect, (Rect{0, 432, 1920, 648}));
    EXPECT_NEAR(layout.contentScale, 2560.0 / 1920, 1e-12);
    expectNear(layout.screenRect, {0, (1440 - 648 * 2560.0 / 1920) / 2, 2560, 648 * 2560.0 / 1920});
}

TEST(StudioLayout, CropsAreLimitedToTwoFifthsOfEachSide) {
    model::ProjectSettings settings;
    settings.cropLeft = 0.7;
    EXPECT_EQ(laidOut(settings).cropRect, (Rect{768, 0, 1152, 1080}));
    settings.cropRight = 5;
    EXPECT_EQ(laidOut(settings).cropRect, (Rect{768, 0, 384, 1080}));
    settings = {};
    settings.cropTop = -1;
    EXPECT_EQ(laidOut(settings).cropRect, (Rect{0, 0, 1920, 1080}));
}

TEST(StudioLayout, CropsAreRoundedToTheNearestPixelWithHalvesAway) {
    model::ProjectSettings settings;
    settings.cropLeft = 0.25;
    // 0.25 x 1922 = 480.5
    const StudioLayout layout = layOutStudio(capture(1922, 1080), settings, kCanvas, false);
    EXPECT_EQ(layout.cropRect, (Rect{481, 0, 1442, 1080}));
}

TEST(StudioLayout, MasksHaveWholePixelsAndABottomLeftOrigin) {
    model::ProjectSettings settings;
    settings.masks = {{0.5, 0.25, 0.25, 0.5}};
    EXPECT_EQ(laidOut(settings).maskRects, (std::vector<Rect>{{960, 270, 480, 540}}));
    settings.masks = {{100.5 / 1920, 0, 10.2 / 1920, 20.5 / 1080}};
    const auto rects = laidOut(settings).maskRects;
    ASSERT_EQ(rects.size(), 1u);
    EXPECT_EQ(rects[0], (Rect{100, 1059, 11, 21}));
}

TEST(StudioLayout, MasksAreCutAtThePicturesEdgeAndTinyOnesDropped) {
    model::ProjectSettings settings;
    settings.masks = {
        {-0.5, -0.5, 0.75, 0.75}, {0.9, 0.9, 5, 5}, {2, 2, 1, 1}, {0, 0, 1 / 1920.0, 1}, {0, 0, 1, 1 / 1080.0}};
    const auto rects = laidOut(settings).maskRects;
    ASSERT_EQ(rects.size(), 2u);
    EXPECT_EQ(rects[0], (Rect{0, 810, 480, 270}));
    EXPECT_EQ(rects[1], (Rect{1728, 0, 192, 108}));
}

TEST(StudioLayout, MasksWithoutASizeThatMeansAnythingAreDropped) {
    model::ProjectSettings settings;
    settings.masks = {{1e308, 0, 1e308, 1}, {0, 0, -1, -1}, {0, 1e308, 1, 1e308}};
    EXPECT_TRUE(laidOut(settings).maskRects.empty());
}

TEST(StudioLayout, BlocksGrowWithThePicture) {
    EXPECT_EQ(laidOut({}).pixelBlock, 14);  // 1080 / 80 = 13.5
    EXPECT_EQ(layOutStudio(capture(640, 480), {}, kCanvas, false).pixelBlock, 12);
    EXPECT_EQ(layOutStudio(capture(3840, 2160), {}, kCanvas, false).pixelBlock, 27);
}

TEST(StudioLayout, TheBubbleSitsInItsCorner) {
    model::ProjectSettings settings;
    const double side = 0.26 * 1440;
    const double margin = 0.03 * 1440;
    const double right = 2560 - margin - side;
    const double top = 1440 - margin - side;
    expectNear(laidOut(settings, true).bubbleRect, {right, margin, side, side});
    settings.webcamCorner = 1;
    expectNear(laidOut(settings, true).bubbleRect, {margin, margin, side, side});
    settings.webcamCorner = 2;
    expectNear(laidOut(settings, true).bubbleRect, {right, top, side, side});
    settings.webcamCorner = 3;
    expectNear(laidOut(settings, true).bubbleRect, {margin, top, side, side});
    settings.webcamEnabled = false;
    EXPECT_EQ(laidOut(settings, true).bubbleRect, Rect{});
    settings.webcamEnabled = true;
    EXPECT_EQ(laidOut(settings, false).bubbleRect, Rect{});
}

TEST(StudioLayout, SettingsThatLeaveNoFiniteLayoutAreAnError) {
    model::ProjectSettings settings;
    settings.padding = 1e308;
    EXPECT_THROW(laidOut(settings), RecorderError);
    settings = {};
    settings.webcamSize = 1e308;
    EXPECT_THROW(laidOut(settings, true), RecorderError);
}

TEST(ZoomTransform, UpToAHairAboveOneIsNoZoom) {
    const StudioLayout layout = laidOut({});
    EXPECT_TRUE(zoomTransform(layout, {1.0, 0, 0}).isIdentity());
    EXPECT_TRUE(zoomTransform(layout, {1.0001, 0, 0}).isIdentity());
    EXPECT_EQ(zoomTransform(layout, {1.0002, 0, 0}).scale, 1.0002);
}

TEST(ZoomTransform, PutsTheFocusInTheMiddle) {
    const StudioLayout layout = laidOut({});
    const ZoomTransform zoom = zoomTransform(layout, {2, 960, 540});
    const Point middle = zoom.apply(canvasPoint(layout, {960, 540}));
    EXPECT_NEAR(middle.x, 1280, 1e-9);
    EXPECT_NEAR(middle.y, 720, 1e-9);
}

TEST(ZoomTransform, TheViewStaysInsideTheCanvasForEveryFocus) {
    const StudioLayout layout = laidOut({});
    std::mt19937 random(8);
    std::uniform_real_distribution<double> x(-3000, 5000);
    std::uniform_real_distribution<double> scale(1.0002, 3);
    for (int i = 0; i < 10'000; ++i) {
        const ZoomTransform zoom = zoomTransform(layout, {scale(random), x(random), x(random)});
        const Point low = zoom.apply({0, 0});
        const Point high = zoom.apply({2560, 1440});
        ASSERT_LE(low.x, 1e-9);
        ASSERT_LE(low.y, 1e-9);
        ASSERT_GE(high.x, 2560 - 1e-9);
        ASSERT_GE(high.y, 1440 - 1e-9);
    }
}

TEST(ZoomTransform, AFocusFarInACornerIsFlushWithTheCanvasCorner) {
    const StudioLayout layout = laidOut({});
    const ZoomTransform zoom = zoomTransform(layout, {2, -500, -500});  // the source's top-left
    const Point corner = zoom.apply({0, 1440});
    EXPECT_NEAR(corner.x, 0, 1e-9);
    EXPECT_NEAR(corner.y, 1440, 1e-9);
}

TEST(StudioLayout, SourceAndCanvasPointsAreInverse) {
    model::ProjectSettings settings;
    settings.cropLeft = 0.1;
    settings.cropTop = 0.2;
    const StudioLayout layout = laidOut(settings);
    for (const Point source : {Point{192, 216}, {1000, 500}, {-30, 2000}}) {
        const Point again = sourcePoint(layout, canvasPoint(layout, source));
        EXPECT_NEAR(again.x, source.x, 1e-9);
        EXPECT_NEAR(again.y, source.y, 1e-9);
    }
    // The crop's top-left is the screen's top-left.
    const Point corner = canvasPoint(layout, {layout.cropRect.minX(), layout.cropRect.minY()});
    EXPECT_NEAR(corner.x, layout.screenRect.minX(), 1e-9);
    EXPECT_NEAR(corner.y, layout.screenRect.maxY(), 1e-9);
}

TEST(SourceNormalized, FindsTheMaskThatWasDrawnUnderAnyZoomAndCrop) {
    model::ProjectSettings settings;
    settings.cropLeft = 0.1;
    settings.cropBottom = 0.25;
    const StudioLayout layout = laidOut(settings);
    const model::MaskRect mask{0.3, 0.2, 0.25, 0.3};
    for (const double scale : {1.0, 1.6, 3.0}) {
        const ZoomTransform zoom = zoomTransform(layout, {scale, 700, 400});
        const Point a = zoom.apply(canvasPoint(layout, {mask.x * 1920, (mask.y + mask.height) * 1080}));
        const Point b = zoom.apply(canvasPoint(layout, {(mask.x + mask.width) * 1920, mask.y * 1080}));
        const auto found = sourceNormalized(layout, zoom, capture(), {a.x, a.y, b.x - a.x, b.y - a.y});
        ASSERT_TRUE(found);
        EXPECT_NEAR(found->x, mask.x, 1e-9);
        EXPECT_NEAR(found->y, mask.y, 1e-9);
        EXPECT_NEAR(found->width, mask.width, 1e-9);
        EXPECT_NEAR(found->height, mask.height, 1e-9);
    }
}

TEST(SourceNormalized, IsClippedToWhatIsShownAndNoneBesideIt) {
    model::ProjectSettings settings;
    settings.cropLeft = 0.25;
    const StudioLayout layout = laidOut(settings);
    const auto all = sourceNormalized(layout, {}, capture(), {-100, -100, 5000, 5000});
    ASSERT_TRUE(all);
    EXPECT_NEAR(all->x, 0.25, 1e-9);
    EXPECT_NEAR(all->width, 0.75, 1e-9);
    EXPECT_NEAR(all->y, 0, 1e-9);
    EXPECT_NEAR(all->height, 1, 1e-9);
    EXPECT_FALSE(sourceNormalized(layout, {}, capture(), {0, 0, 10, 10}));
    EXPECT_FALSE(sourceNormalized(layout, {}, capture(), {1000, 700, 0, 50}));
}

TEST(CanvasRectangle, IsWhereTheSourceIsShownAndItsInverse) {
    model::ProjectSettings settings;
    settings.cropLeft = 0.1;
    settings.cropBottom = 0.25;
    const StudioLayout layout = laidOut(settings);
    for (const double scale : {1.0, 1.6, 3.0}) {
        const ZoomTransform zoom = zoomTransform(layout, {scale, 700, 400});
        for (double x = 0.1; x < 0.8; x += 0.09) {
            for (double y = 0; y < 0.5; y += 0.07) {
                const model::MaskRect mask{x, y, 0.2, 0.15};
                const auto again =
                    sourceNormalized(layout, zoom, capture(), canvasRectangle(layout, zoom, capture(), mask));
                ASSERT_TRUE(again);
                expectNear({again->x, again->y, again->width, again->height}, {x, y, 0.2, 0.15});
            }
        }
    }
}

TEST(VisibleCanvas, IsWhatTheCameraThatShowsItFillsTheFrameWith) {
    const StudioLayout layout = laidOut({});
    expectNear(visibleCanvas(layout, {}), {0, 0, 2560, 1440});
    for (const double scale : {1.2, 1.6, 3.0}) {
        for (double x = 0; x <= 1920; x += 160) {
            for (double y = 0; y <= 1080; y += 120) {
                const Rect visible = visibleCanvas(layout, zoomTransform(layout, {scale, x, y}));
                EXPECT_GE(visible.minX(), -1e-9);
                EXPECT_GE(visible.minY(), -1e-9);
                EXPECT_LE(visible.maxX(), 2560 + 1e-9);
                EXPECT_LE(visible.maxY(), 1440 + 1e-9);
                const ZoomEngine::Camera camera = cameraShowing(layout, visible);
                EXPECT_NEAR(camera.scale, scale, 1e-9);
                expectNear(visibleCanvas(layout, zoomTransform(layout, camera)), visible);
            }
        }
    }
}

}  // namespace
}  // namespace lumivastor::edit
