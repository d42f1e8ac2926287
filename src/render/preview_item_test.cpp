#include "render/preview_item.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "base/recorder_error.h"
#include "edit/composition.h"
#include "imaging/painter.h"
#include "media/picture_finder.h"
#include "model/pointer_track.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor {
namespace {

class PreviewItem : public testing::Test {
  protected:
    PreviewItem() {
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

    std::shared_ptr<Composition> open() {
        info_.save(folder_.path());
        PointerTrack().save(folder_.path());
        settings_.save(folder_.path());
        return std::make_shared<Composition>(folder_.path(), 160, 90);
    }

    static int numberIn(const Picture& picture) {
        BgraPremultipliedBuffer pixels(static_cast<int>(picture.extent().width),
                                       static_cast<int>(picture.extent().height));
        Painter(1).paint(picture, pixels);
        return testPictureNumber(pixels);
    }

    TemporaryFolder folder_;
    CaptureInfo info_;
    ProjectSettings settings_;
};

TEST_F(PreviewItem, ItsTimesAreThoseOfTheRecordingAndWhatIsCutAwayIsThere) {
    settings_.trimStart = 0.5;
    settings_.cuts = {{2, 3}};
    const auto composition = open();
    const PlayerItem item = makePlayerItem(composition, openRecordingAssets(composition->recording()));
    EXPECT_EQ(item.canvasWidth, 160);
    EXPECT_EQ(item.canvasHeight, 90);
    EXPECT_EQ(item.framesPerSecond, 30);
    EXPECT_EQ(item.duration, 5);
    EXPECT_EQ(item.playedRanges, (std::vector<PlayedRange>{{0.5, 2}, {3, 5}}));
    PictureFinder screen(*item.movie.track(item.screenTrackId.value()), PictureFinder::Before::firstPicture);
    PictureFinder webcam(*item.movie.track(item.webcamTrackId.value()), PictureFinder::Before::nothing);
    for (int frame = 0; frame < 150; ++frame) {
        const MediaTime moment = momentOf(frame / 30.0);
        EXPECT_EQ(numberIn(*screen.find(moment)->picture), frame);
        const auto face = webcam.find(moment)->picture;
        ASSERT_EQ(face.has_value(), frame >= 45) << frame;
        if (face) {
            EXPECT_EQ(numberIn(*face), std::min(frame - 45, 59));
        }
    }
}

TEST_F(PreviewItem, ItsFramesAreTheCompositionsWithTheSettingsInForce) {
    const auto composition = open();
    const PlayerItem item = makePlayerItem(composition, openRecordingAssets(composition->recording()));
    const Picture screen(std::make_shared<const BgraPremultipliedBuffer>(128, 96));
    EXPECT_TRUE(item.compositor(screen, std::nullopt, 1) == composition->compose(screen, std::nullopt, 1));
    const Picture before = item.compositor(screen, std::nullopt, 1);
    ProjectSettings settings = composition->settings();
    settings.padding = 0.2;
    composition->setSettings(settings);
    EXPECT_FALSE(item.compositor(screen, std::nullopt, 1) == before);
    EXPECT_TRUE(item.compositor(screen, std::nullopt, 1) == composition->compose(screen, std::nullopt, 1));
}

TEST_F(PreviewItem, ItsSoundHasTheVolumesOfTheSettings) {
    settings_.systemVolume = 0.5;
    settings_.micVolume = 2.5;
    const auto composition = open();
    const PlayerItem item = makePlayerItem(composition, openRecordingAssets(composition->recording()));
    ASSERT_EQ(item.audioMix.size(), 2u);
    EXPECT_EQ(item.audioMix[0].volume, 0.5F);
    EXPECT_EQ(item.audioMix[1].volume, 2.5F);
    ProjectSettings settings = composition->settings();
    settings.systemVolume = 0;
    composition->setSettings(settings);
    const auto mix = previewMix(*composition, item.audioMix);
    ASSERT_EQ(mix.size(), 2u);
    EXPECT_EQ(mix[0].trackId, item.audioMix[0].trackId);
    EXPECT_EQ(mix[0].volume, 0);
    EXPECT_EQ(mix[1].volume, 2.5F);
}

TEST_F(PreviewItem, ImpossibleRecordingsAreErrors) {
    info_.fps = 0;
    EXPECT_THROW(static_cast<void>(makePlayerItem(open(), {})), RecorderError);
    info_.fps = 601;
    EXPECT_THROW(static_cast<void>(makePlayerItem(open(), {})), RecorderError);
}

TEST_F(PreviewItem, FramesAreRefusedWhenTheCompositionHasGone) {
    auto composition = open();
    const PlayerItem item = makePlayerItem(composition, openRecordingAssets(composition->recording()));
    composition.reset();
    try {
        static_cast<void>(item.compositor(Picture(), std::nullopt, 0));
        ADD_FAILURE() << "a frame of nothing";
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(), "Vorschaubild konnte nicht gebaut werden.");
    }
}

}  // namespace
}  // namespace lumivastor
