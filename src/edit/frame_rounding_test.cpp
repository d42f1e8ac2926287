// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <vector>

#include "edit/composition.h"
#include "edit/frame_composer.h"
#include "imaging/painting/painter.h"
#include "imaging/png_file.h"
#include "support/temporary_folder.h"

// What rounding the numbers of a frame does to frames: how many are equal, and how little it changes the others.

namespace lumivastor::edit {
namespace {

namespace fs = std::filesystem;

constexpr int kWidth = 960;
constexpr int kHeight = 540;
constexpr int kScreenWidth = 1280;
constexpr int kScreenHeight = 720;
constexpr double kFps = 60;

// A page of text: strokes two pixels wide on white, with empty lines and margins.
imaging::Picture page() {
    auto buffer = std::make_shared<imaging::BgraPremultipliedBuffer>(kScreenWidth, kScreenHeight);
    for (int y = 0; y < kScreenHeight; ++y) {
        for (int x = 0; x < kScreenWidth; ++x) {
            const int line = y / 22;
            const bool isInLine = y % 22 < 12 && line % 5 != 4 && x > 100 && x < 700 + line * 131 % 500;
            const bool isStroke = isInLine && ((x / 2) * 7 + line * 13 + y % 22 / 4 * 3) % 11 < 3;
            std::uint8_t* pixel = buffer->pixel(x, y);
            pixel[0] = pixel[1] = pixel[2] = isStroke ? 40 : 250;
            pixel[3] = 255;
        }
    }
    return imaging::Picture(std::shared_ptr<const imaging::BgraPremultipliedBuffer>(std::move(buffer)));
}

struct Luma {
    std::vector<std::uint8_t> samples = std::vector<std::uint8_t>(kWidth * kHeight * 3 / 2);

    Luma(imaging::Painter& painter, const imaging::Picture& picture) {
        std::uint8_t* const all = samples.data();
        constexpr int kSize = kWidth * kHeight;
        painter.paint(picture, imaging::YuvDestination{
                                   kWidth, kHeight, all, kWidth, all + kSize, all + kSize * 5 / 4, kWidth / 2, {}});
        samples.resize(kSize);
    }
};

double decibels(const Luma& a, const Luma& b) {
    double squares = 0;
    for (std::size_t i = 0; i < a.samples.size(); ++i) {
        const double difference = double(a.samples[i]) - b.samples[i];
        squares += difference * difference;
    }
    if (squares == 0) return std::numeric_limits<double>::infinity();
    return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.samples.size()) / squares);
}

class FrameRounding : public testing::Test {
  protected:
    FrameRounding() {
        info_.createdAt = "2024-05-01T09:30:12Z";
        info_.pixelWidth = kScreenWidth;
        info_.pixelHeight = kScreenHeight;
        info_.duration = 10;
        track_.cursorChanges = {{0, "c0"}};
        track_.cursorImages = {{"c0", "cursors/c0.png", 20, 30, 5, 10, 1, true}};
        settings_.zooms.emplace();
        fs::create_directories(folder_ / "cursors");
        imaging::BgraPremultipliedBuffer cursor(20, 30);
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 20; ++x) {
                const bool isEdge = x < 2 || x > 17 || y < 2 || y > 27;
                for (int c = 0; c < 3; ++c) cursor.pixel(x, y)[c] = isEdge ? 255 : 0;
                cursor.pixel(x, y)[3] = 255;
            }
        }
        imaging::writePng(folder_ / "cursors/c0.png", cursor);
    }

    void pointerAt(double t, double x, double y, model::PointerKind kind = model::PointerKind::move) {
        track_.events.push_back({t, x, y, x / kScreenWidth, y / kScreenHeight, kind, {}, {}, {}});
    }

    Composition open() {
        info_.save(folder_.path());
        track_.save(folder_.path());
        settings_.save(folder_.path());
        return {folder_.path(), kWidth, kHeight};
    }

    // The worst of the frames from `from` to `to`, of which at least `different` differ at all.
    void expectCloseFrames(double from, double to, int different) {
        const Composition composition = open();
        imaging::PreparedLayers cache;
        const auto state = composition.state();
        const StudioLayers layers =
            makeStudioLayers(state->layout, state->settings, LayerViews({kWidth, kHeight}), cache, cache);
        const FrameIngredients in{composition.recording(), *state, layers, composition.cursorAssets()};
        const imaging::Picture screen = page();
        imaging::Painter painter(1);
        double worst = std::numeric_limits<double>::infinity();
        for (double t = from; t < to; t += 2 / kFps) {
            const Luma rounded(painter, composeFrame(in, screen, std::nullopt, t));
            const Luma exact(painter, composeExactFrame(in, screen, std::nullopt, t));
            const double likeness = decibels(rounded, exact);
            worst = std::min(worst, likeness);
            if (std::isfinite(likeness)) --different;
        }
        RecordProperty("worst", std::to_string(worst));
        EXPECT_GE(worst, 55);
        EXPECT_LE(different, 0) << "the frames would have to differ for the comparison to mean anything";
    }

    // Frames out of `count` from `t` on that differ from the one before.
    int changes(double t, int count) {
        const Composition composition = open();
        const imaging::Picture screen = page();
        int changes = 0;
        imaging::Picture last = composition.compose(screen, std::nullopt, t);
        for (int i = 1; i <= count; ++i) {
            imaging::Picture next = composition.compose(screen, std::nullopt, t + i / kFps);
            if (!(next == last)) ++changes;
            last = std::move(next);
        }
        return changes;
    }

    TemporaryFolder folder_;
    model::CaptureInfo info_;
    model::PointerTrack track_;
    model::ProjectSettings settings_;
};

TEST_F(FrameRounding, ACursorThatCreepsToItsPlaceGivesEqualRecipes) {
    settings_.smoothing = 0.5;
    pointerAt(0, 100, 100);
    pointerAt(1, 100, 100);
    pointerAt(1.3, 900, 500);
    pointerAt(10, 900, 500);
    const Composition composition = open();
    const auto at = [&](double t) { return composition.state()->cursorEngine->position(t).value(); };
    ASSERT_NE(at(2.2), at(3)) << "the path still moves";
    EXPECT_GT(changes(1, 30), 20);
    EXPECT_EQ(changes(2.2, 60), 0);
}

TEST_F(FrameRounding, ASlowCursorMovesInSixteenthsOfAPixel) {
    pointerAt(0, 300, 200);
    pointerAt(10, 302, 200);
    const double canvasPixels = 2 * open().state()->layout.contentScale * 6 / 10;
    EXPECT_NEAR(changes(2, 360), canvasPixels * 16, 2);
}

TEST_F(FrameRounding, AZoomThatHasArrivedRests) {
    pointerAt(0, 300, 200);
    settings_.zooms = {{1, 6, 1.7, {{1.7, 0.3, 0.6}}}};
    // Both eased ends are nearly at rest: half a frame's way from a key the camera has moved by less than a step.
    const Composition composition = open();
    const imaging::Picture screen = page();
    for (const auto& key : composition.state()->zoomEngine->scaleKeys()) {
        const auto before = composition.compose(screen, std::nullopt, key.t - 0.25 / kFps);
        const auto after = composition.compose(screen, std::nullopt, key.t + 0.25 / kFps);
        EXPECT_EQ(before, after) << key.t;
    }
    EXPECT_GT(changes(1, 42), 38);
    EXPECT_EQ(changes(1.7, 250), 0);
    EXPECT_EQ(changes(7.1, 100), 0);
}

TEST_F(FrameRounding, AZoomLooksAsItDoesWithoutRounding) {
    pointerAt(0, 300, 200);
    settings_.zooms = {{1, 4, 1.7, {{1.7, 0.3, 0.6}, {2.2, 0.3, 0.6}, {3, 0.7, 0.4}}}};
    expectCloseFrames(1, 5, 40);
}

TEST_F(FrameRounding, ASlowCursorAndARingLookAsTheyDoWithoutRounding) {
    pointerAt(0, 300, 200);
    pointerAt(2, 320, 206);
    pointerAt(2, 320, 206, model::PointerKind::down);
    pointerAt(10, 340, 215);
    expectCloseFrames(1, 3, 30);
}

}  // namespace
}  // namespace lumivastor::edit
