// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/webcam_recorder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cmath>
#include <csignal>
#include <new>

#include "base/recorder_error.h"
#include "capture/recording/recovered_movie.h"
#include "media/reading/asset.h"
#include "support/await.h"
#include "support/recorder_rig.h"

namespace lumivastor::capture {
namespace {

class WebcamRecorders : public RecorderRig {
  protected:
    // As many as the writer keeps: they come at once here, and what an encoder is not done with in time is dropped.
    static constexpr int kPictures = media::VideoWriterInput::kMaximumLivePictures;

    WebcamRecorders() {
        std::filesystem::create_directories(folder_);
        devices_.setDefaultCamera(camera_);
    }

    // Until the camera runs, which it does in the background.
    void start() {
        recorder_->start(folder_);
        ASSERT_TRUE(loop_.runUntil([this] { return camera_->isRunning(); }));
    }

    // Until it has arrived: pictures that come while others wait are dropped.
    void emit(double hostSeconds) {
        const auto image = picture(640, 480);
        ASSERT_TRUE(camera_->emitPicture(hostSeconds, image));
        ASSERT_TRUE(loop_.runUntil([&] { return recorder_->previewLayer()->latest() == image; }));
    }

    std::string startError() {
        try {
            recorder_->start(folder_);
        } catch (const RecorderError& error) {
            return error.message();
        }
        return "no error";
    }

    std::shared_ptr<synthetic::SyntheticDevice> camera_ =
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    PauseClock pauses_{services_.hostClock};
    std::unique_ptr<WebcamRecorder> recorder_ = std::make_unique<WebcamRecorder>(services_, pauses_);
};

TEST_F(WebcamRecorders, TellsWhenItsFirstPictureWasTaken) {
    double told = 0;
    recorder_->onFirstPicture = [&told](double seconds) { told = seconds; };
    start();
    for (int i = 0; i < kPictures; ++i) emit(2000.5 + i / 30.0);
    const auto first = recorder_->stop();
    EXPECT_EQ(first, 2000.5);
    EXPECT_EQ(told, 2000.5);
    EXPECT_FALSE(camera_->isRunning());
    const media::Asset movie(folder_ / "webcam.mov");
    ASSERT_EQ(movie.tracks(media::TrackKind::video).size(), 1u);
    const media::AssetTrack track = movie.tracks(media::TrackKind::video)[0];
    EXPECT_EQ(track.codec, "h264");
    EXPECT_EQ(track.width, 640);
    EXPECT_EQ(track.sampleCount, kPictures);
    EXPECT_EQ(track.start.seconds(), 0);
    EXPECT_FALSE(movie.isFragmented());
    EXPECT_EQ(log(),
              (std::vector<std::string>{"[Webcam] gestartet: 640×480", "[Webcam] erstes Bild bei Host-Uhr 2000.500 s",
                                        "[Webcam] fertig: 5 Bilder, Status 2"}));
}

TEST_F(WebcamRecorders, PrefersTheLargestPreset) {
    camera_->setPresets({{1280, 720}, {1920, 1080}});
    EXPECT_EQ(startError(), "no error");
    EXPECT_EQ(camera_->size(), (PixelSize{1920, 1080}));
    EXPECT_TRUE(logged("[Webcam] gestartet: 1920×1080"));
    recorder_->stop();
}

TEST_F(WebcamRecorders, TakesTheSmallerPresetWhereThatIsAll) {
    camera_->setPresets({{1280, 720}});
    EXPECT_EQ(startError(), "no error");
    EXPECT_EQ(camera_->size(), (PixelSize{1280, 720}));
    recorder_->stop();
}

TEST_F(WebcamRecorders, ACameraWithoutPresetsRecordsItsActiveFormat) {
    camera_->setActiveFormat({352, 288});
    start();
    camera_->emitPicture(5);
    camera_->emitPicture(6);
    EXPECT_EQ(recorder_->stop(), 5);
    EXPECT_EQ(media::Asset(folder_ / "webcam.mov").tracks(media::TrackKind::video).at(0).width, 352);
}

TEST_F(WebcamRecorders, StoppingBeforeTheFirstPictureGivesNothing) {
    start();
    EXPECT_EQ(recorder_->stop(), std::nullopt);
    EXPECT_TRUE(logged("[Webcam] beendet ohne ein einziges Bild"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "webcam.mov"));
}

TEST_F(WebcamRecorders, WhatCannotBeStartedIsSaid) {
    devices_.setDefaultCamera(nullptr);
    EXPECT_EQ(startError(), "Es wurde keine Kamera gefunden.");
    devices_.setDefaultCamera(camera_);
    camera_->failOpens("Die Kamera ist belegt.");
    EXPECT_EQ(startError(), "Die Kamera ist belegt.");
    camera_->failOpens(std::nullopt);
    camera_->setHasVideo(false);
    EXPECT_EQ(startError(), "Das Kamerabild kann nicht abgegriffen werden.");
    camera_->setHasVideo(true);
    camera_->setActiveFormat({0, 0});
    EXPECT_EQ(startError(), "Die Kameradatei konnte nicht angelegt werden.");
    EXPECT_EQ(recorder_->stop(), std::nullopt);
}

TEST_F(WebcamRecorders, AFileThatCannotBeMadeIsSaidWithTheWritersReason) {
    std::filesystem::remove(folder_);
    const std::string error = startError();
    EXPECT_NE(error, "no error");
    EXPECT_NE(error.find("webcam.mov"), std::string::npos) << error;
    EXPECT_EQ(recorder_->stop(), std::nullopt);
}

TEST_F(WebcamRecorders, ReplacesAnOldFile) {
    temporary_.write("recording/webcam.mov", "alt");
    start();
    camera_->emitPicture(5);
    camera_->emitPicture(5.1);
    EXPECT_EQ(recorder_->stop(), 5);
    EXPECT_EQ(media::Asset(folder_ / "webcam.mov").tracks(media::TrackKind::video).at(0).sampleCount, 2);
}

TEST_F(WebcamRecorders, ShowsTheLatestPicture) {
    start();
    const auto preview = recorder_->previewLayer();
    EXPECT_EQ(preview->latest(), nullptr);
    camera_->emitPicture(5, 40);
    ASSERT_TRUE(loop_.runUntil([&] { return preview->latest() != nullptr; }));
    EXPECT_EQ(preview->latest()->pixel(1, 1)[0], 40);
    recorder_->stop();
}

TEST_F(WebcamRecorders, ACameraThatIsUnpluggedKeepsWhatItGave) {
    std::string told;
    recorder_->onNotice = [&told](const std::string& sentence) { told = sentence; };
    start();
    for (int i = 0; i < kPictures; ++i) emit(7 + i / 30.0);
    camera_->interrupt("abgezogen");
    EXPECT_EQ(recorder_->stop(), 7);
    EXPECT_EQ(told, "Die Kamera liefert kein Bild mehr: abgezogen");
    EXPECT_EQ(media::Asset(folder_ / "webcam.mov").tracks(media::TrackKind::video).at(0).sampleCount, kPictures);
}

TEST_F(WebcamRecorders, CountsThePicturesThatAreInItsMovie) {
    start();
    for (int i = 0; i < kPictures; ++i) emit(7 + i / 30.0);
    // The preview shows a picture just before the movie gets it.
    EXPECT_TRUE(await(10, [this] { return recorder_->framesWritten() == kPictures; }));
    // Such pictures find no place in the movie.
    camera_->emitPicture(6.5, picture(640, 480));
    camera_->emitPicture(std::nan(""), picture(640, 480));
    EXPECT_EQ(recorder_->stop(), 7);
    EXPECT_EQ(recorder_->framesWritten(), kPictures);
    EXPECT_EQ(media::Asset(folder_ / "webcam.mov").tracks(media::TrackKind::video).at(0).sampleCount, kPictures);
    EXPECT_EQ(log().back(), "[Webcam] fertig: 5 Bilder, Status 2");
    EXPECT_EQ(log().size(), 3u) << "nothing to say about the count";
}

TEST_F(WebcamRecorders, CountsWhichPicturesAreNew) {
    EXPECT_EQ(recorder_->health(), RecordingHealth::Webcam{});
    start();
    for (const auto& [seconds, grey] : {std::pair{7.0, 10}, {7.2, 20}, {7.5, 20}, {8.0, 20}, {8.5, 30}}) {
        const auto image = picture(640, 480, grey);
        ASSERT_TRUE(camera_->emitPicture(seconds, image));
        ASSERT_TRUE(loop_.runUntil([&] { return recorder_->previewLayer()->latest() == image; }));
    }
    EXPECT_TRUE(await(10, [this] { return recorder_->framesWritten() == kPictures; }));
    // The first, the one at 7.5 s, and the last; that at 7.2 s is not compared.
    EXPECT_EQ(recorder_->health(), (RecordingHealth::Webcam{{kPictures, 0, 0}, 5, 3}));
    recorder_->stop();
}

TEST_F(WebcamRecorders, CountsWhatAWriterThatFailedHasLeft) {
    start();
    for (int i = 0; i < kPictures; ++i) emit(7 + i * 1.0);
    // The fragments of the first seconds are on the disk by now; the rest and the index find no room.
    ASSERT_TRUE(await(30, [this] { return mayStillBeRecovered(folder_ / "webcam.mov"); }));
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit unlimited {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &unlimited), 0);
    struct rlimit small = unlimited;
    small.rlim_cur = std::filesystem::file_size(folder_ / "webcam.mov");
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto first = recorder_->stop();
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    std::signal(SIGXFSZ, previous);
    if (!first) {
        EXPECT_EQ(recorder_->framesWritten(), 0);
        return;
    }
    const std::int64_t inMovie = media::Asset(folder_ / "webcam.mov").tracks(media::TrackKind::video).at(0).sampleCount;
    EXPECT_LT(inMovie, kPictures);
    EXPECT_EQ(recorder_->framesWritten(), inMovie);
}

TEST_F(WebcamRecorders, OfATurnedCameraTheWholePictureIsSeen) {
    camera_->setActiveFormat({640, 480});
    start();
    emit(7);
    camera_->emitPicture(7.1, picture(480, 640, 200));
    ASSERT_TRUE(loop_.runUntil([this] { return recorder_->previewLayer()->latest()->pixel(320, 240)[0] == 200; }));
    const auto shown = recorder_->previewLayer()->latest();
    EXPECT_EQ(shown->width(), 640);
    EXPECT_EQ(shown->pixel(10, 240)[0], 0);
    EXPECT_EQ(shown->pixel(630, 240)[0], 0);
    EXPECT_EQ(shown->pixel(320, 479)[0], 200);
    recorder_->stop();
}

TEST_F(WebcamRecorders, ALinkInItsPlaceLeavesWhatItLeadsToAlone) {
    temporary_.write("fremd", "bleibt");
    std::filesystem::create_symlink(temporary_ / "fremd", folder_ / "webcam.mov");
    start();
    emit(5);
    EXPECT_EQ(recorder_->stop(), 5);
    EXPECT_EQ(temporary_.read("fremd"), "bleibt");
    EXPECT_FALSE(std::filesystem::is_symlink(folder_ / "webcam.mov"));
}

TEST_F(WebcamRecorders, WhatAPictureThrowsIsSaidOnce) {
    std::vector<std::string> notices;
    recorder_->onFirstPicture = [](double) { throw std::bad_alloc(); };
    recorder_->onNotice = [&notices](const std::string& sentence) { notices.push_back(sentence); };
    start();
    for (int i = 0; i < 2; ++i) camera_->emitPicture(2000 + i);
    recorder_->stop();
    EXPECT_EQ(notices,
              std::vector<std::string>{"Die Kamera wird nicht mehr aufgenommen: Der Arbeitsspeicher reicht nicht."});
}

TEST_F(WebcamRecorders, OneThatIsNotStoppedEndsItsCamera) {
    start();
    camera_->emitPicture(5);
    recorder_.reset();
    EXPECT_FALSE(camera_->isRunning());
}

}  // namespace
}  // namespace lumivastor::capture
