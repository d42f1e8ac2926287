// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/studio_preview.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "base/recorder_error.h"
#include "edit/composition.h"
#include "imaging/painting/painter.h"
#include "model/pointer_track.h"
#include "playback/frame_seeker.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::editor {
namespace {

constexpr playback::FrameRequest kPlayed{1, {160, 90}, false};

class StudioPreviews : public testing::Test {
  protected:
    StudioPreviews() {
        TestMovieOptions options;
        options.pictures = 150;
        options.keyFrameInterval = 50;
        options.sounds = {{}, {}};
        makeTestMovie(folder_ / "source.mov", options);
        options.sounds.clear();
        options.pictures = 60;
        makeTestMovie(folder_ / "webcam.mov", options);
        info_.pixelWidth = 128;
        info_.pixelHeight = 96;
        info_.fps = 30;
        info_.duration = 5;
        info_.systemAudio = true;
        info_.microphone = true;
        info_.webcamFile = "webcam.mov";
        info_.webcamOffset = 1.5;
    }

    void open() {
        info_.save(folder_.path());
        model::PointerTrack().save(folder_.path());
        settings_.save(folder_.path());
        composition_ = std::make_shared<edit::Composition>(folder_.path(), 160, 90);
        preview_ =
            std::make_unique<StudioPreview>(composition_, render::openRecordingAssets(composition_->recording()));
    }
    // The composition's frame on the preview's canvas.
    static imaging::Picture onCanvas(const imaging::Picture& frame) {
        return frame.transformed(
            imaging::AffineTransform::scaling(StudioPreview::kCanvas.width / frame.extent().width,
                                              StudioPreview::kCanvas.height / frame.extent().height));
    }

    static int numberIn(const imaging::Picture& picture) {
        imaging::BgraPremultipliedBuffer pixels(static_cast<int>(picture.extent().width),
                                                static_cast<int>(picture.extent().height));
        imaging::Painter(1).paint(picture, pixels);
        return testPictureNumber(pixels);
    }

    TemporaryFolder folder_;
    model::CaptureInfo info_;
    model::ProjectSettings settings_;
    std::shared_ptr<edit::Composition> composition_;
    std::unique_ptr<StudioPreview> preview_;
};

TEST_F(StudioPreviews, ItsTimesAreThoseOfTheRecordingAndWhatIsCutAwayIsThere) {
    settings_.trimStart = 0.5;
    settings_.cuts = {{2, 3}};
    open();
    const playback::PlayerItem item = preview_->item();
    EXPECT_EQ(item.canvasWidth, 3840);
    EXPECT_EQ(item.canvasHeight, 2160);
    EXPECT_EQ(item.framesPerSecond, 30);
    EXPECT_EQ(item.duration, 5);
    EXPECT_EQ(item.playedRanges, (std::vector<Interval>{{0.5, 2}, {3, 5}}));
    playback::FrameSeeker screen(*item.movie.track(item.screenTrackId.value()),
                                 playback::FrameSeeker::Before::firstPicture);
    playback::FrameSeeker webcam(*item.movie.track(item.webcamTrackId.value()), playback::FrameSeeker::Before::nothing);
    for (int frame = 0; frame < 150; ++frame) {
        const MediaTime moment = playback::momentOf(frame / 30.0);
        EXPECT_EQ(numberIn(*screen.find(moment)->picture), frame);
        const auto face = webcam.find(moment)->picture;
        ASSERT_EQ(face.has_value(), frame >= 45) << frame;
        if (face) {
            EXPECT_EQ(numberIn(*face), std::min(frame - 45, 59));
        }
    }
}

TEST_F(StudioPreviews, ItsFramesAreTheCompositionsWithTheSettingsInForce) {
    open();
    const playback::VideoCompositor compositor = preview_->item().compositor;
    const imaging::Picture screen(std::make_shared<const imaging::BgraPremultipliedBuffer>(128, 96));
    const imaging::Picture before = compositor(screen, std::nullopt, kPlayed);
    EXPECT_TRUE(before == onCanvas(composition_->composeShown(screen, std::nullopt, 1, {160, 90}, false)));
    EXPECT_EQ(before.extent(), (Rect{0, 0, 3840, 2160}));
    model::ProjectSettings settings = composition_->settings();
    settings.padding = 0.2;
    composition_->setSettings(settings);
    EXPECT_FALSE(compositor(screen, std::nullopt, kPlayed) == before);
    EXPECT_TRUE(compositor(screen, std::nullopt, kPlayed) ==
                onCanvas(composition_->composeShown(screen, std::nullopt, 1, {160, 90}, false)));
}

TEST_F(StudioPreviews, AnotherCanvasComesOntoTheSameOne) {
    open();
    const playback::VideoCompositor compositor = preview_->item().compositor;
    const imaging::Picture screen(std::make_shared<const imaging::BgraPremultipliedBuffer>(128, 96));
    const auto larger = std::make_shared<edit::Composition>(folder_.path(), 320, 180);
    preview_->setComposition(larger);
    const imaging::Picture frame = compositor(screen, std::nullopt, kPlayed);
    EXPECT_EQ(frame.extent(), (Rect{0, 0, 3840, 2160}));
    EXPECT_TRUE(frame == onCanvas(larger->composeShown(screen, std::nullopt, 1, {160, 90}, false)));
    EXPECT_FALSE(frame == onCanvas(composition_->composeShown(screen, std::nullopt, 1, {160, 90}, false)));
}

TEST_F(StudioPreviews, AStillHasLayersOfItsOwnThatCostNoMoreThanItsSize) {
    open();
    const auto large = std::make_shared<edit::Composition>(folder_.path(), 640, 360);
    preview_->setComposition(large);
    const imaging::Picture screen(std::make_shared<const imaging::BgraPremultipliedBuffer>(128, 96));
    const imaging::Picture face(std::make_shared<const imaging::BgraPremultipliedBuffer>(64, 48));
    const playback::FrameRequest request{1, {160, 90}, true};
    const imaging::Picture still = preview_->compositor()(screen, face, request);
    EXPECT_TRUE(still == onCanvas(large->composeShown(screen, face, 1, {160, 90}, true)));
    EXPECT_TRUE(still == preview_->compositor()(screen, face, request)) << "it need not be painted again";
    EXPECT_FALSE(still == onCanvas(large->compose(screen, face, 1)));
    EXPECT_EQ(still.extent(), (Rect{0, 0, 3840, 2160}));
}

TEST_F(StudioPreviews, ItsSoundHasTheVolumesOfTheSettings) {
    settings_.systemVolume = 0.5;
    settings_.micVolume = 2.5;
    open();
    const playback::PlayerItem item = preview_->item();
    ASSERT_EQ(item.audioMix.size(), 2u);
    EXPECT_EQ(item.audioMix[0].volume, 0.5F);
    EXPECT_EQ(item.audioMix[1].volume, 2.5F);
    model::ProjectSettings settings = composition_->settings();
    settings.systemVolume = 0;
    composition_->setSettings(settings);
    const auto mix = preview_->audioMix();
    ASSERT_EQ(mix.size(), 2u);
    EXPECT_EQ(mix[0].trackId, item.audioMix[0].trackId);
    EXPECT_EQ(mix[0].volume, 0);
    EXPECT_EQ(mix[1].volume, 2.5F);
}

TEST_F(StudioPreviews, PlaysWhatTheSettingsKeep) {
    open();
    EXPECT_EQ(preview_->playedRanges(), (std::vector<Interval>{{0, 5}}));
    model::ProjectSettings settings = composition_->settings();
    settings.trimEnd = 4;
    settings.cuts = {{1, 1.5}};
    composition_->setSettings(settings);
    EXPECT_EQ(preview_->playedRanges(), (std::vector<Interval>{{0, 1}, {1.5, 4}}));
}

TEST_F(StudioPreviews, ImpossibleRecordingsAreErrors) {
    info_.fps = 0;
    EXPECT_THROW(open(), RecorderError);
    info_.fps = 601;
    EXPECT_THROW(open(), RecorderError);
}

TEST_F(StudioPreviews, FramesThatArePaintedWhileItGoesAreStillMade) {
    open();
    const playback::VideoCompositor compositor = preview_->compositor();
    const imaging::Picture screen(std::make_shared<const imaging::BgraPremultipliedBuffer>(128, 96));
    const imaging::Picture before = compositor(screen, std::nullopt, kPlayed);
    preview_.reset();
    composition_.reset();
    EXPECT_TRUE(compositor(screen, std::nullopt, kPlayed) == before);
}

}  // namespace
}  // namespace lumivastor::editor
