// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/composition.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <thread>

#include "base/recorder_error.h"
#include "imaging/png_file.h"
#include "support/temporary_folder.h"

namespace lumivastor::edit {
namespace {

namespace fs = std::filesystem;

class CompositionTest : public testing::Test {
  protected:
    CompositionTest() {
        info_.createdAt = "2024-05-01T09:30:12Z";
        info_.pixelWidth = 1920;
        info_.pixelHeight = 1080;
        info_.duration = 20;
        for (int i = 0; i <= 2000; ++i) {
            const double t = i / 100.0;
            const double x = 960 + 500 * std::sin(t);
            track_.events.push_back({t, x, 540, x / 1920, 0.5, model::PointerKind::move, {}, {}, {}});
            if (i % 700 == 500) {
                track_.events.push_back(
                    {t, x, 540, x / 1920, 0.5, model::PointerKind::down, model::PointerButton::left, {}, {}});
            }
        }
        track_.cursorChanges = {{0, "c0"}};
        track_.cursorImages = {{"c0", "cursors/c0.png", 12, 12, 1, 1, 2, true}};
        save();
    }

    void save() {
        info_.save(folder_.path());
        track_.save(folder_.path());
        fs::create_directories(folder_ / "cursors");
        imaging::writePng(folder_ / "cursors/c0.png", imaging::BgraPremultipliedBuffer(24, 24));
    }

    TemporaryFolder folder_;
    model::CaptureInfo info_;
    model::PointerTrack track_;
};

TEST_F(CompositionTest, OpensAFolderWithItsSettings) {
    model::ProjectSettings settings;
    settings.cuts = {{2, 4}};
    settings.save(folder_.path());
    const Composition composition(folder_.path(), 1280, 720);
    EXPECT_EQ(composition.canvasWidth(), 1280);
    EXPECT_EQ(composition.info(), info_);
    EXPECT_EQ(composition.track(), track_);
    EXPECT_EQ(composition.settings(), settings);
    EXPECT_EQ(composition.keptSegments(), (std::vector<Interval>{{0, 2}, {4, 20}}));
    EXPECT_EQ(composition.outputDuration(), 18);
    EXPECT_EQ(composition.sourceTime(2), 4);
    EXPECT_EQ(composition.zoomCount(), 3);
    EXPECT_EQ(composition.zoomSpecs().size(), 3u);
    ASSERT_EQ(composition.cursorAssets().size(), 1u);
    EXPECT_EQ(composition.cursorAssets().at("c0").picture->width(), 24);
}

TEST_F(CompositionTest, EqualSettingsDoNotRebuild) {
    Composition composition(folder_.path(), 1280, 720);
    const auto before = composition.state();
    composition.setSettings(composition.settings());
    EXPECT_EQ(composition.state(), before);
    model::ProjectSettings settings = composition.settings();
    settings.padding = 0;
    composition.setSettings(settings);
    EXPECT_NE(composition.state(), before);
    EXPECT_NEAR(before->layout.contentScale, 1280 * 0.89 / 1920, 0.01) << "a state that is in use stays as it was";
    EXPECT_EQ(composition.state()->layout.screenRect, (Rect{0, 0, 1280, 720}));
}

TEST_F(CompositionTest, OnAnotherCanvasTheRecordingAndItsCursorPathAreShared) {
    const Composition small(folder_.path(), 1280, 720);
    model::ProjectSettings settings = small.settings();
    settings.padding = 0;
    const Composition large(small, settings, 2560, 1440);
    EXPECT_EQ(large.settings(), settings);
    EXPECT_EQ(large.state()->layout.screenRect, (Rect{0, 0, 2560, 1440}));
    EXPECT_EQ(&large.recording(), &small.recording());
    EXPECT_EQ(large.state()->cursorEngine, small.state()->cursorEngine);
    EXPECT_EQ(large.cursorAssets().size(), 1u);
    EXPECT_EQ(small.canvasWidth(), 1280);
    settings.padding = 1e308;
    EXPECT_THROW(Composition(small, settings, 640, 360), RecorderError);
}

TEST_F(CompositionTest, SettingsThatCannotBeDrawnChangeNothing) {
    Composition composition(folder_.path(), 1280, 720);
    const auto before = composition.state();
    model::ProjectSettings settings = composition.settings();
    settings.padding = 1e308;
    EXPECT_THROW(composition.setSettings(settings), RecorderError);
    EXPECT_EQ(composition.state(), before);
}

TEST_F(CompositionTest, TheCursorComesAsFractionsOfThePicture) {
    Composition composition(folder_.path(), 1280, 720);
    const auto position = composition.cursorNormalized(5);
    ASSERT_TRUE(position);
    EXPECT_NEAR(position->x, track_.events[500].nx, 1e-4);
    EXPECT_NEAR(position->y, 0.5, 1e-9);
    track_.events.clear();
    save();
    EXPECT_EQ(Composition(folder_.path(), 1280, 720).cursorNormalized(5), std::nullopt);
}

TEST_F(CompositionTest, ACanvasRectangleIsFoundInTheSourceUnderTheZoomOfItsTime) {
    const Composition composition(folder_.path(), 1280, 720);
    // The camera rests on the first click, pressed at 5 s.
    const auto state = composition.state();
    const auto camera = state->zoomEngine->camera(6);
    ASSERT_NEAR(camera.scale, 1.6, 1e-9);
    const StudioLayout& layout = state->layout;
    const Point click = zoomTransform(layout, camera).apply(canvasPoint(layout, {camera.focusX, camera.focusY}));
    const auto found = composition.sourceNormalized({click.x - 50, click.y - 20, 100, 40}, 6);
    ASSERT_TRUE(found);
    EXPECT_NEAR(found->x + found->width / 2, camera.focusX / 1920, 1e-9);
    EXPECT_NEAR(found->y + found->height / 2, camera.focusY / 1080, 1e-9);
    EXPECT_NEAR(found->width, 100 / 1.6 / layout.contentScale / 1920, 1e-9);
    EXPECT_NEAR(found->height, 40 / 1.6 / layout.contentScale / 1080, 1e-9);
    const auto whole = composition.sourceNormalized({0, 0, 1280, 720}, 0);
    ASSERT_TRUE(whole);
    EXPECT_NEAR(whole->width, 1, 1e-9);
}

TEST_F(CompositionTest, ShownFramesKeepTheirLayersAndAPauseInTheWholePictureChangesNothing) {
    const Composition composition(folder_.path(), 1280, 720);
    const imaging::Picture screen(std::make_shared<const imaging::BgraPremultipliedBuffer>(1920, 1080));
    const auto frame = [&](double t, bool isStill) {
        return composition.composeShown(screen, std::nullopt, t, {640, 360}, isStill);
    };
    constexpr double kWhole = 0.5;
    constexpr double kZoomed = 6;
    ASSERT_TRUE(frameZoom(*composition.state(), kWhole).isIdentity());
    ASSERT_FALSE(frameZoom(*composition.state(), kZoomed).isIdentity());
    const imaging::Picture whole = frame(kWhole, false);
    const imaging::Picture zoomed = frame(kZoomed, false);
    EXPECT_TRUE(frame(kWhole, true) == whole);
    EXPECT_TRUE(frame(kZoomed, false) == zoomed) << "its layers stay, whatever was shown in between";
    EXPECT_FALSE(frame(kZoomed, true) == zoomed);
}

TEST_F(CompositionTest, TheWebcamCountsWhenItsFileIsInTheFolder) {
    info_.webcamFile = "webcam.mov";
    save();
    EXPECT_FALSE(Composition(folder_.path(), 1280, 720).recording().hasWebcam());
    folder_.write("webcam.mov", "x");
    const Composition composition(folder_.path(), 1280, 720);
    EXPECT_TRUE(composition.recording().hasWebcam());
    EXPECT_EQ(composition.recording().webcamOffset(), 0) << "no offset is an offset of 0";
    EXPECT_FALSE(composition.state()->layout.bubbleRect.isEmpty());
    info_.webcamFile = "../webcam.mov";
    save();
    EXPECT_FALSE(Composition(folder_.path(), 1280, 720).recording().hasWebcam());
}

TEST_F(CompositionTest, AMissingDocumentIsAnErrorThatNamesIt) {
    const auto messageOf = [this] {
        try {
            const Composition composition(folder_.path(), 1280, 720);
        } catch (const RecorderError& error) {
            return error.message();
        }
        return std::string("no error");
    };
    fs::remove(folder_ / "pointer.json");
    EXPECT_EQ(messageOf(), "„pointer.json“ konnte nicht gelesen werden: Datei oder Ordner nicht gefunden.");
    fs::remove(folder_ / "capture.json");
    EXPECT_EQ(messageOf(), "„capture.json“ konnte nicht gelesen werden: Datei oder Ordner nicht gefunden.");
}

TEST_F(CompositionTest, ReadersAlwaysSeeOneWholeState) {
    Composition composition(folder_.path(), 1280, 720);
    model::ProjectSettings settings = composition.settings();
    const auto edit = [&](double padding) {
        settings.padding = padding;
        settings.zoomScale = 1 + padding * 10;
        composition.setSettings(settings);
    };
    edit(0.05);
    std::atomic<bool> ending = false;
    std::atomic<int> reads = 0;
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i) {
        readers.emplace_back([&] {
            do {
                const auto state = composition.state();
                // Padding and scale of the zooms are edited together; a mixture would show.
                const double scale = 1 + state->settings.padding * 10;
                ASSERT_EQ(state->settings.zoomScale, scale);
                for (const auto& spec : state->zoomSpecs) ASSERT_EQ(spec.scale, scale);
                ASSERT_NEAR(state->layout.screenRect.minY(), state->settings.padding * 720, 1e-9);
                ++reads;
            } while (!ending);
        });
    }
    for (int i = 0; i < 200; ++i) edit((i % 10) * 0.01);
    ending = true;
    for (auto& reader : readers) reader.join();
    EXPECT_GE(reads, 2);
}

class CursorAssets : public CompositionTest {};

TEST_F(CursorAssets, WhatCannotBeLoadedIsNotThere) {
    folder_.write("cursors/broken.png", "no picture");
    imaging::writePng(folder_ / "cursors/large.png", imaging::BgraPremultipliedBuffer(1025, 10));
    const TemporaryFolder outside;
    imaging::writePng(outside / "c9.png", imaging::BgraPremultipliedBuffer(24, 24));
    fs::create_symlink(outside / "c9.png", folder_ / "cursors/link.png");
    const auto image = [](const std::string& id, const std::string& file, bool visible = true) {
        return model::CursorImage{id, file, 12, 12, 0, 0, 2, visible};
    };
    const auto assets =
        loadCursorAssets(folder_.path(), {image("c0", "cursors/c0.png"), image("broken", "cursors/broken.png"),
                                          image("large", "cursors/large.png"), image("missing", "cursors/missing.png"),
                                          image("link", "cursors/link.png"), image("up", "cursors/../cursors/c0.png"),
                                          image("absolute", (folder_ / "cursors/c0.png").string()), image("hidden", ""),
                                          image("unseen", "cursors/c0.png", false)});
    ASSERT_EQ(assets.size(), 1u);
    EXPECT_TRUE(assets.contains("c0"));
}

TEST_F(CursorAssets, TogetherTheyStayWithinTheirMemory) {
    imaging::writePng(folder_ / "cursors/big.png", imaging::BgraPremultipliedBuffer(1024, 1024));
    std::vector<model::CursorImage> images;
    for (int i = 0; i < 80; ++i) {
        images.push_back({"c" + std::to_string(i), "cursors/big.png", 1024, 1024, 0, 0, 1, true});
    }
    EXPECT_EQ(loadCursorAssets(folder_.path(), images).size(), 64u) << "4 MB each, 256 MB in all";
}

}  // namespace
}  // namespace lumivastor::edit
