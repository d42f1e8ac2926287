// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/frame_composer.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>

#include "edit/composition.h"
#include "imaging/painting/painter.h"
#include "imaging/png_file.h"
#include "support/golden_picture.h"
#include "support/temporary_folder.h"

namespace lumivastor::edit {
namespace {

namespace fs = std::filesystem;

constexpr int kWidth = 320;
constexpr int kHeight = 180;

using Pixel = std::array<int, 4>;  // blue, green, red, alpha

imaging::Picture filled(int width, int height, const Pixel& colour) {
    auto buffer = std::make_shared<imaging::BgraPremultipliedBuffer>(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (std::size_t c = 0; c < 4; ++c) buffer->pixel(x, y)[c] = static_cast<std::uint8_t>(colour[c]);
        }
    }
    return imaging::Picture(std::shared_ptr<const imaging::BgraPremultipliedBuffer>(std::move(buffer)));
}

// A screen with something to recognise: coloured quarters and fine lines.
imaging::Picture testScreen(int width, int height) {
    auto buffer = std::make_shared<imaging::BgraPremultipliedBuffer>(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const bool line = y > height / 2 && x > width / 2 && (x / 2) % 2 == 0;
            std::uint8_t* pixel = buffer->pixel(x, y);
            pixel[0] = static_cast<std::uint8_t>(line ? 30 : x < width / 2 ? 200 : 240);
            pixel[1] = static_cast<std::uint8_t>(line ? 30 : y < height / 2 ? 120 : 240);
            pixel[2] = static_cast<std::uint8_t>(line ? 30 : x < width / 2 ? 90 : 250);
            pixel[3] = 255;
        }
    }
    return imaging::Picture(std::shared_ptr<const imaging::BgraPremultipliedBuffer>(std::move(buffer)));
}

// A recording of 640 x 360 pixels with one press at 2 s and a still pointer.
class FrameComposer : public testing::Test {
  protected:
    FrameComposer() {
        info_.createdAt = "2024-05-01T09:30:12Z";
        info_.pixelWidth = 640;
        info_.pixelHeight = 360;
        info_.duration = 10;
        track_.events = {{0, 320, 180, 0.5, 0.5, model::PointerKind::move, {}, {}, {}},
                         {2, 320, 180, 0.5, 0.5, model::PointerKind::down, model::PointerButton::left, {}, {}},
                         {10, 320, 180, 0.5, 0.5, model::PointerKind::move, {}, {}, {}}};
        track_.cursorChanges = {{1, "c0"}, {8, "hidden"}};
        track_.cursorImages = {{"c0", "cursors/c0.png", 20, 30, 5, 10, 1, true}, {"hidden", "", 0, 0, 0, 0, 1, false}};
        settings_.zooms.emplace();
        settings_.cornerRadius = 12;
        fs::create_directories(folder_ / "cursors");
        // Green, its left half darker, so that its place and its sides are seen.
        imaging::BgraPremultipliedBuffer cursor(20, 30);
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 20; ++x) {
                cursor.pixel(x, y)[1] = x < 10 ? 120 : 255;
                cursor.pixel(x, y)[3] = 255;
            }
        }
        imaging::writePng(folder_ / "cursors/c0.png", cursor);
    }

    Composition open() {
        info_.save(folder_.path());
        track_.save(folder_.path());
        settings_.save(folder_.path());
        return {folder_.path(), kWidth, kHeight};
    }

    static imaging::BgraPremultipliedBuffer painted(const imaging::Picture& picture) {
        imaging::BgraPremultipliedBuffer pixels(kWidth, kHeight);
        imaging::Painter(1).paint(picture, pixels);
        return pixels;
    }

    // The frame's pixel at a canvas point (origin bottom-left).
    static Pixel at(const imaging::BgraPremultipliedBuffer& pixels, double x, double y) {
        const auto* pixel = pixels.pixel(static_cast<int>(x), kHeight - 1 - static_cast<int>(y));
        return {pixel[0], pixel[1], pixel[2], pixel[3]};
    }

    static void expectGoldenFrame(const Composition& composition, const std::string& name, double t,
                                  const std::optional<imaging::Picture>& webcam = std::nullopt) {
        expectGolden(painted(composition.compose(testScreen(640, 360), webcam, t)),
                     fs::path(LUMI_EDIT_TESTDATA) / (name + ".png"));
    }

    TemporaryFolder folder_;
    model::CaptureInfo info_;
    model::PointerTrack track_;
    model::ProjectSettings settings_;
};

const Pixel kRed = {0, 0, 220, 255};

bool isReddish(const Pixel& p) {
    return p[2] > 150 && p[1] < 60;
}
bool isGreen(const Pixel& p) {
    return p[1] > 100 && p[2] < 60 && p[0] < 60;
}

TEST_F(FrameComposer, TheScreenFillsItsRectangleOnTheBackground) {
    const Composition composition = open();
    const auto pixels = painted(composition.compose(filled(640, 360, kRed), std::nullopt, 9));
    const Rect screen = composition.state()->layout.screenRect;
    EXPECT_EQ(at(pixels, screen.midX(), screen.maxY() - 3), kRed);
    EXPECT_EQ(at(pixels, screen.minX() + 1, screen.midY()), kRed);
    EXPECT_EQ(at(pixels, screen.maxX() - 2, screen.midY()), kRed);
    EXPECT_FALSE(isReddish(at(pixels, screen.minX() - 2, screen.midY())));
    EXPECT_FALSE(isReddish(at(pixels, screen.minX() + 1, screen.minY() + 1))) << "the corners are round";
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) ASSERT_EQ(pixels.pixel(x, y)[3], 255) << "nothing is transparent";
    }
}

TEST_F(FrameComposer, ACropShowsThePartThatIsLeft) {
    settings_.cropLeft = 0.4;
    settings_.cropTop = 0.4;
    settings_.padding = 0;
    settings_.cornerRadius = 0;
    const Composition composition = open();
    // The bottom-right part of a screen that is red in its top-left 40 %.
    const imaging::Picture screen = filled(256, 144, kRed)
                                        .transformed(imaging::AffineTransform::translation(0, 216))
                                        .over(filled(640, 360, {200, 200, 200, 255}));
    const auto pixels = painted(composition.compose(screen, std::nullopt, 9));
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) ASSERT_FALSE(isReddish(at(pixels, x, y))) << x << "," << y;
    }
}

TEST_F(FrameComposer, APictureOfAnotherSizeIsStretchedToTheRecordings) {
    const Composition composition = open();
    const auto pixels = painted(composition.compose(filled(320, 180, kRed), std::nullopt, 9));
    const Rect screen = composition.state()->layout.screenRect;
    EXPECT_EQ(at(pixels, screen.maxX() - 4, screen.midY()), kRed);
    EXPECT_EQ(at(pixels, screen.minX() + 4, screen.midY()), kRed);
}

TEST_F(FrameComposer, TheCursorPointsWithItsHotSpot) {
    const Composition composition = open();
    const StudioLayout layout = composition.state()->layout;
    const auto pixels = painted(composition.compose(filled(640, 360, kRed), std::nullopt, 6));
    const Point tip = canvasPoint(layout, {320, 180});
    const double k = layout.contentScale * 1.7;
    // 5 points left of the tip and 10 above begins the picture, 20 x 30 points large; darker on its left.
    EXPECT_TRUE(isGreen(at(pixels, tip.x - 3 * k, tip.y + 8 * k)));
    EXPECT_TRUE(isGreen(at(pixels, tip.x + 14 * k, tip.y - 19 * k)));
    EXPECT_FALSE(isGreen(at(pixels, tip.x - 6.5 * k, tip.y)));
    EXPECT_FALSE(isGreen(at(pixels, tip.x, tip.y + 12 * k)));
    EXPECT_FALSE(isGreen(at(pixels, tip.x + 17 * k, tip.y)));
    EXPECT_FALSE(isGreen(at(pixels, tip.x, tip.y - 22.5 * k)));
    EXPECT_LT(at(pixels, tip.x - 3 * k, tip.y)[1], at(pixels, tip.x + 10 * k, tip.y)[1]);
}

TEST_F(FrameComposer, BeforeTheFirstChangeTheFirstShapeAndHiddenOnesAreNotDrawn) {
    const Composition composition = open();
    const auto greenAt = [&](double t) {
        const auto pixels = painted(composition.compose(filled(640, 360, kRed), std::nullopt, t));
        return isGreen(at(pixels, kWidth / 2 + 2, kHeight / 2 - 4));
    };
    EXPECT_TRUE(greenAt(0));
    EXPECT_TRUE(greenAt(7.99));
    EXPECT_FALSE(greenAt(8));
}

TEST_F(FrameComposer, ACursorUpToTwoPixelsOutsideTheCropIsDrawn) {
    settings_.cropLeft = 0.1;  // from x = 64
    const auto hasCursor = [&](double px) {
        for (auto& event : track_.events) event.px = px;
        const Composition composition = open();
        const imaging::Picture screen = filled(640, 360, kRed);
        const imaging::Picture with = composition.compose(screen, std::nullopt, 6);
        return !(with == composition.compose(screen, std::nullopt, 9));
    };
    EXPECT_TRUE(hasCursor(64));
    EXPECT_TRUE(hasCursor(62));
    EXPECT_FALSE(hasCursor(61));
}

TEST_F(FrameComposer, AnUnknownShapeDrawsNothing) {
    track_.cursorChanges = {{0, "c7"}};
    const Composition composition = open();
    const imaging::Picture screen = filled(640, 360, kRed);
    EXPECT_TRUE(composition.compose(screen, std::nullopt, 5) == composition.compose(screen, std::nullopt, 9));
}

TEST(RingLook, GrowsAndFadesOverFourTenthsOfASecond) {
    EXPECT_EQ(ringLook(-0.001), std::nullopt);
    ASSERT_TRUE(ringLook(0));
    EXPECT_EQ(ringLook(0)->diameter, 60);
    EXPECT_EQ(ringLook(0)->opacity, 0.85);
    EXPECT_NEAR(ringLook(0.2)->diameter, 150, 1e-9);
    EXPECT_NEAR(ringLook(0.2)->opacity, 0.425, 1e-9);
    EXPECT_NEAR(ringLook(0.399999)->diameter, 240, 0.01);
    EXPECT_EQ(ringLook(0.4), std::nullopt);
}

TEST_F(FrameComposer, TheRingLiesAroundTheClick) {
    track_.cursorChanges.clear();
    const Composition composition = open();
    const StudioLayout layout = composition.state()->layout;
    const auto pixels = painted(composition.compose(filled(640, 360, {200, 200, 200, 255}), std::nullopt, 2.2));
    const Point centre = canvasPoint(layout, {320, 180});
    // The line's middle lies 12 of the ring picture's 256 pixels inside its edge.
    const double radius = 150 * layout.contentScale * (128 - 12) / 256;
    for (const double angle : {0.0, 1.0, 2.0, 3.0, 4.0, 5.0}) {
        const Pixel p = at(pixels, centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle));
        EXPECT_GT(p[2] - p[0], 40) << "orange at " << angle;
    }
    EXPECT_EQ(at(pixels, centre.x, centre.y), (Pixel{200, 200, 200, 255}));
    EXPECT_TRUE(composition.compose(testScreen(640, 360), {}, 2.5).extent() ==
                composition.compose(testScreen(640, 360), {}, 1.5).extent());
}

TEST_F(FrameComposer, EqualMomentsGiveEqualRecipesAndRingsDoNot) {
    const Composition composition = open();
    const imaging::Picture screen = testScreen(640, 360);
    EXPECT_TRUE(composition.compose(screen, {}, 5) == composition.compose(screen, {}, 6));
    EXPECT_FALSE(composition.compose(screen, {}, 2.1) == composition.compose(screen, {}, 2.15));
    EXPECT_FALSE(composition.compose(screen, {}, 5) == composition.compose(testScreen(640, 360), {}, 5));
}

TEST_F(FrameComposer, TheBubbleStaysInItsCornerWhileTheCameraZooms) {
    info_.webcamFile = "webcam.mov";
    folder_.write("webcam.mov", "x");
    settings_.webcamSize = 0.4;
    settings_.zooms = {{1, 8, 2, {{1.7, 0.2, 0.2}}}};
    Composition composition = open();
    const Rect bubble = composition.state()->layout.bubbleRect;
    const imaging::Picture screen = filled(640, 360, {200, 200, 200, 255});
    const imaging::Picture camera = filled(64, 48, kRed);
    for (const double t : {0.0, 4.0}) {
        const auto pixels = painted(composition.compose(screen, camera, t));
        EXPECT_EQ(at(pixels, bubble.midX(), bubble.midY()), kRed);
        EXPECT_TRUE(isReddish(at(pixels, bubble.midX(), bubble.minY() + 5)));
        EXPECT_FALSE(isReddish(at(pixels, bubble.minX() + 3, bubble.minY() + 3))) << "it is round";
    }
    const auto without = painted(composition.compose(screen, std::nullopt, 4));
    EXPECT_FALSE(isReddish(at(without, bubble.midX(), bubble.midY()))) << "no picture, no bubble";
    model::ProjectSettings settings = composition.settings();
    settings.webcamEnabled = false;
    composition.setSettings(settings);
    const auto off = painted(composition.compose(screen, camera, 4));
    EXPECT_FALSE(isReddish(at(off, bubble.midX(), bubble.midY())));
}

TEST_F(FrameComposer, MasksHideWhatTheyCover) {
    settings_.masks = {{0.5, 0.5, 0.5, 0.5}};
    track_.cursorChanges.clear();
    const Composition composition = open();
    const StudioLayout layout = composition.state()->layout;
    const auto pixels = painted(composition.compose(testScreen(640, 360), std::nullopt, 9));
    // Below the mask are black and white lines; above it stays only their average.
    const Point a = canvasPoint(layout, {400, 230});
    const Point b = canvasPoint(layout, {560, 320});
    for (double y = b.y; y < a.y; ++y) {
        for (double x = a.x; x < b.x; ++x) ASSERT_NEAR(at(pixels, x, y)[0], 135, 25);
    }
}

TEST_F(FrameComposer, LooksAsItDid) {
    info_.webcamFile = "webcam.mov";
    folder_.write("webcam.mov", "x");
    settings_.masks = {{0.55, 0.55, 0.3, 0.3}};
    settings_.zooms = {{3, 6, 1.6, {{3.7, 0.7, 0.6}}}};
    const Composition composition = open();
    const imaging::Picture camera = filled(64, 48, {150, 180, 220, 255});
    expectGoldenFrame(composition, "frame_ring", 2.15);
    expectGoldenFrame(composition, "frame_zoomed", 5, camera);
    expectGoldenFrame(composition, "frame_whole", 9, camera);
}

// Each of these differs from the plain frame in one thing.
TEST_F(FrameComposer, EachLayerAloneLooksAsItDid) {
    track_.cursorChanges = {{0, "hidden"}, {8.5, "c0"}};
    info_.webcamFile = "webcam.mov";
    folder_.write("webcam.mov", "x");
    const imaging::Picture camera = testScreen(64, 48);
    expectGoldenFrame(open(), "frame_plain", 1);
    expectGoldenFrame(open(), "frame_click", 2.2);
    expectGoldenFrame(open(), "frame_cursor", 9);
    expectGoldenFrame(open(), "frame_bubble", 1, camera);

    const model::ProjectSettings plain = settings_;
    settings_.cornerRadius = 40;
    settings_.padding = 0.15;
    expectGoldenFrame(open(), "frame_padding", 1);
    settings_ = plain;
    settings_.backgroundRed = 0.6;
    settings_.backgroundGreen = 0.3;
    expectGoldenFrame(open(), "frame_background", 1);
    settings_ = plain;
    settings_.cropLeft = 0.25;
    settings_.cropTop = 0.1;
    expectGoldenFrame(open(), "frame_crop", 1);
    settings_ = plain;
    // The second lies half over the first.
    settings_.masks = {{0.55, 0.55, 0.2, 0.3}, {0.65, 0.6, 0.3, 0.2}};
    expectGoldenFrame(open(), "frame_masks", 1);
    settings_ = plain;
    settings_.zooms = {{0, 6, 3.0, {{0.5, 0.75, 0.75}}}};
    expectGoldenFrame(open(), "frame_zoom3", 4);
}

TEST_F(FrameComposer, SettingsOutOfAnyRangeDrawSomethingOrAreRefused) {
    Composition composition = open();
    const auto draws = [&](auto change) {
        model::ProjectSettings settings = settings_;
        change(settings);
        composition.setSettings(settings);
        return painted(composition.compose(testScreen(640, 360), std::nullopt, 2.1)).pixel(0, 0)[3] == 255;
    };
    EXPECT_TRUE(draws([](auto& s) { s.cursorScale = -3; }));
    EXPECT_TRUE(draws([](auto& s) { s.cursorScale = 1e300; }));
    EXPECT_TRUE(draws([](auto& s) { s.padding = 0.5; }));
    EXPECT_TRUE(draws([](auto& s) { s.padding = 0.9; }));
    EXPECT_TRUE(draws([](auto& s) { s.padding = -0.4; }));
    EXPECT_TRUE(draws([](auto& s) { s.cornerRadius = 1e300; }));
    EXPECT_TRUE(draws([](auto& s) { s.cornerRadius = -5; }));
    EXPECT_TRUE(draws([](auto& s) { s.backgroundRed = 1e300, s.backgroundBlue = -7; }));
    EXPECT_TRUE(draws([](auto& s) { s.zooms = {{1, 8, 1000, {{1.5, 0.5, 0.5}}}}; }));
    EXPECT_TRUE(draws([](auto& s) { s.zooms = {{1, 8, 2, {{1.5, 1e6, -1e6}}}}; }));
}

}  // namespace
}  // namespace lumivastor::edit
