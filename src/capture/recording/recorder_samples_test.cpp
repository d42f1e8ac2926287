// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder.h"

#include <gtest/gtest.h>

#include <limits>

#include "media/reading/asset.h"
#include "media/reading/still_picture.h"
#include "model/capture_info.h"
#include "support/recording_rig.h"

namespace lumivastor::capture {
namespace {

// Which of the samples that a stream delivers are in the movie, and when.
class RecorderSamples : public DesktopRecordingRig {};

TEST_F(RecorderSamples, SoundBecomesTracksOfItsOwn) {
    options_.systemAudio = true;
    options_.microphone = true;
    platform::CaptureDevice microphone{"mic", "Mikrofon", false, 2};
    sound_.setDefaultMicrophone(microphone);
    start();
    EXPECT_TRUE(desktop_.hasSystemAudioOutput());
    EXPECT_TRUE(desktop_.hasMicrophoneOutput());
    desktop_.emitScreen({platform::FrameStatus::started, 1000, picture(320, 240)});
    for (int i = 0; i < 100; ++i) {
        desktop_.emitSystemAudio(sound(1000 + i / 100.0, 2));
        desktop_.emitMicrophone(sound(1000 + i / 100.0, i < 50 ? 2 : 1));  // another device took over
    }
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_NEAR(stats.duration, 0.99, 1e-6);
    const media::Asset movie(folder_ / "source.mov");
    const auto sounds = movie.tracks(media::TrackKind::audio);
    ASSERT_EQ(sounds.size(), 2u);
    for (const media::AssetTrack& each : sounds) {
        EXPECT_EQ(each.codec, "aac");
        EXPECT_EQ(each.channels, 2);
        EXPECT_EQ(each.sampleRate, 48000);
    }
    EXPECT_TRUE(model::CaptureInfo::load(folder_).systemAudio);
    EXPECT_TRUE(model::CaptureInfo::load(folder_).microphone);
}

TEST_F(RecorderSamples, WithoutKnownMicrophoneItsTrackHasOneChannel) {
    options_.microphone = true;
    sound_.setDefaultMicrophone(std::nullopt);
    start();
    EXPECT_FALSE(desktop_.hasSystemAudioOutput());
    desktop_.emitScreen({platform::FrameStatus::started, 1000, picture(320, 240)});
    for (int i = 0; i < 20; ++i) desktop_.emitMicrophone(sound(1000 + i / 100.0, 2));
    stopped();
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks(media::TrackKind::audio).at(0).channels, 1);
}

TEST_F(RecorderSamples, SoundThatComesFirstStartsTheSessionAtItsTime) {
    options_.systemAudio = true;
    start();
    desktop_.emitSystemAudio(sound(1000.25, 2));
    // Taken before, delivered after: shown from the movie's zero on.
    desktop_.emitScreen({platform::FrameStatus::started, 1000.2, picture(320, 240)});
    desktop_.emitScreen({platform::FrameStatus::complete, 1001.25, picture(320, 240)});
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(model::CaptureInfo::load(folder_).t0HostClock, 1000.25);
    EXPECT_EQ(stats.framesWritten, 2);
    EXPECT_NEAR(stats.duration, 1, 1e-6);
    const media::AssetTrack video = media::Asset(folder_ / "source.mov").tracks(media::TrackKind::video).at(0);
    EXPECT_EQ(video.sampleCount, 2);
    EXPECT_EQ(video.start.seconds(), 0);
}

TEST_F(RecorderSamples, AMovieThatSoundBeginsBeginsWithTheLastPictureUntilThen) {
    options_.systemAudio = true;
    start();
    desktop_.emitSystemAudio(sound(1000.25, 2));
    const auto last = picture(320, 240, 220);
    desktop_.emitScreen({platform::FrameStatus::started, 1000.1, picture(320, 240, 10)});
    desktop_.emitScreen({platform::FrameStatus::complete, 1000.15, picture(320, 240, 20)});
    desktop_.emitScreen({platform::FrameStatus::complete, 1000.2, last});
    EXPECT_EQ(recorder_->snapshot().framesWritten, 0) << "none of these is in the movie yet";
    desktop_.emitScreen({platform::FrameStatus::idle, 1000.3, nullptr});
    EXPECT_EQ(recorder_->snapshot().framesWritten, 1);
    desktop_.emitScreen({platform::FrameStatus::complete, 1001.2, last});  // once more, as on a still screen
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(stats.framesWritten, 2);
    EXPECT_EQ(stats.framesDropped, 0);
    const auto movie = std::make_shared<const media::Asset>(folder_ / "source.mov");
    const media::AssetTrack video = movie->tracks(media::TrackKind::video).at(0);
    EXPECT_EQ(video.sampleCount, 2);
    EXPECT_EQ(video.start.seconds(), 0);
    for (const double seconds : {0.0, 0.9, 1.2}) {
        const auto shown = media::stillPicture(movie, seconds);
        ASSERT_TRUE(shown);
        EXPECT_GT(static_cast<int>(*shown->luma.samples), 150) << seconds;
    }
}

TEST_F(RecorderSamples, PicturesFromBeforeTheSessionAloneAreAMovieToo) {
    options_.systemAudio = true;
    start();
    desktop_.emitSystemAudio(sound(1000.25, 2));
    desktop_.emitSystemAudio(sound(1000.35, 2));
    desktop_.emitScreen({platform::FrameStatus::started, 1000.1, picture(320, 240)});
    EXPECT_EQ(statsOf(stopped()).framesWritten, 1);
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks(media::TrackKind::video).at(0).sampleCount, 1);
}

TEST_F(RecorderSamples, SoundAloneIsKept) {
    options_.systemAudio = true;
    options_.source = WindowSource{window()};
    start();
    for (int i = 0; i < 100; ++i) {
        desktop_.emitSystemAudio(sound(1000 + i / 100.0, 2));
        desktop_.emitScreen({platform::FrameStatus::suspended, 1000 + i / 100.0, nullptr});
    }
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(stats.framesWritten, 0);
    EXPECT_NEAR(stats.duration, 0.99, 1e-6);
    EXPECT_EQ(model::CaptureInfo::load(folder_).framesSkippedIdle, 100);
    EXPECT_TRUE(exists("pointer.json"));
    EXPECT_FALSE(exists("journal"));
    const media::Asset movie(folder_ / "source.mov");
    EXPECT_FALSE(movie.isFragmented());
    EXPECT_EQ(movie.tracks(media::TrackKind::audio).size(), 1u);
    EXPECT_NEAR(movie.duration().seconds(), 0.99, 0.03);
}

TEST_F(RecorderSamples, OnlyIdleFramesAreNoRecording) {
    start();
    for (int i = 0; i < 5; ++i) desktop_.emitScreen({platform::FrameStatus::idle, loop_.now(), nullptr});
    EXPECT_EQ(recorder_->snapshot(), (Recorder::Stats{0, 0, 5, 0, 1}));
    EXPECT_EQ(errorOf(stopped()),
              "Es wurde kein einziges Bild aufgenommen. Fehlt die Berechtigung für die Bildschirmaufnahme?");
    EXPECT_FALSE(std::filesystem::exists(folder_)) << "nothing is left behind";
}

TEST_F(RecorderSamples, ARepeatedPictureIsWrittenAsOne) {
    start();
    const auto still = picture(320, 240);
    for (int i = 0; i < 5; ++i) desktop_.emitScreen({platform::FrameStatus::complete, 1000.0 + i, still});
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(stats.framesWritten, 5);
    EXPECT_EQ(stats.duration, 4);
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks()[0].sampleCount, 5);
}

TEST_F(RecorderSamples, PicturesThatTheWriterHasNoRoomForAreCounted) {
    startLarge();
    // Until the queue is full and one waits that another replaces.
    const int sent = emitUntilOneIsDropped();
    desktop_.setPicturesMissed(3);
    const RecordingHealth health = recorder_->health();
    EXPECT_EQ(health.screen.lost, 1);
    EXPECT_EQ(health.screen.diskWaits, 0);
    EXPECT_EQ(health.missed, 3);
    EXPECT_EQ(health.fps, options_.fps);
    EXPECT_GT(health.bytes, 0U);
    EXPECT_LT(health.usableBytes, freeSpace_->available);
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(stats.framesDropped, 1);
    EXPECT_EQ(stats.framesWritten, sent - 1);
    EXPECT_EQ(model::CaptureInfo::load(folder_).framesDroppedBackpressure, 1);
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks()[0].sampleCount, sent - 1);
}

TEST_F(RecorderSamples, APictureThatFoundNoRoomIsShownOnceThereIs) {
    startLarge();
    const int sent = emitUntilOneWaits();
    // From here on the screen stands still: the stream only tells so at its ticks.
    EXPECT_TRUE(loop_.runUntil([&] {
        desktop_.emitScreen({platform::FrameStatus::idle, 1000 + sent / 1000.0, nullptr});
        return recorder_->snapshot().framesWritten == sent;
    }));
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(stats.framesDropped, 0);
    EXPECT_EQ(stats.framesWritten, sent);
    EXPECT_NEAR(stats.duration, (sent - 1) / 1000.0, 1e-6) << "at its own time";
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks()[0].sampleCount, sent);
}

TEST_F(RecorderSamples, APictureThatWaitsAtTheStopIsWritten) {
    startLarge();
    const int sent = emitUntilOneWaits();
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(stats.framesWritten, sent);
    EXPECT_EQ(stats.framesDropped, 0);
    EXPECT_NEAR(stats.duration, (sent - 1) / 1000.0, 1e-6);
}

TEST_F(RecorderSamples, SamplesWithoutATimeAreIgnored) {
    options_.systemAudio = true;
    start();
    desktop_.emitScreen({platform::FrameStatus::complete, std::numeric_limits<double>::quiet_NaN(), picture(320, 240)});
    desktop_.emitSystemAudio(sound(std::numeric_limits<double>::infinity(), 2));
    EXPECT_EQ(recorder_->snapshot(), (Recorder::Stats{0, 0, 0, 0, 1}));
    record(1, 320, 240);
    EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
}

}  // namespace
}  // namespace lumivastor::capture
