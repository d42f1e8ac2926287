// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <deque>

#include "base/formatted.h"
#include "capture/journal/journal_records.h"
#include "capture/recording/recorder.h"
#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "media/reading/still_picture.h"
#include "model/capture_info.h"
#include "model/marks.h"
#include "model/pointer_track.h"
#include "support/await.h"
#include "support/recording_rig.h"

namespace lumivastor::capture {
namespace {

using Cause = RecordingJob::PauseCause;

class RecorderPauses : public DesktopRecordingRig {
  protected:
    // As fast as the writer accepts pictures. The last ones are kept alive, as a stream does.
    void emitPicture(int grey) {
        pictures_.push_back(picture(320, 240, grey));
        desktop_.emitScreen({platform::FrameStatus::complete, loop_.now(), pictures_.back()});
        if (pictures_.size() < media::VideoWriterInput::kMaximumLivePictures - 1) return;
        if (!recorder_->isPaused()) {
            ASSERT_TRUE(await(30, [this] { return pictures_.front().use_count() == 1; }));
        }
        pictures_.pop_front();
    }
    void emitIdle() { desktop_.emitScreen({platform::FrameStatus::idle, loop_.now(), nullptr}); }
    void emitMove(double x) {
        desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now(), {x, 30}, 0, 0});
    }
    void emitPress(double x) {
        desktop_.emitPointer({platform::PointerEventType::leftMouseDown, loop_.now(), {x, 30}, 0, 0});
    }

    std::shared_ptr<const media::Asset> movie(const char* name = "source.mov") const {
        return std::make_shared<const media::Asset>(folder_ / name);
    }
    media::AssetTrack video() const { return movie()->tracks(media::TrackKind::video).at(0); }
    int greyAt(double seconds, const char* name = "source.mov") const {
        const auto shown = media::stillPicture(movie(name), seconds);
        return shown ? static_cast<int>(*shown->luma.samples) : -1;
    }
    // When a movie becomes bright.
    std::vector<double> flashesOf(const char* name) const {
        const auto asset = movie(name);
        media::AssetReader reader(asset);
        media::VideoTrackOutput& output = reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id,
                                                                media::PictureFormat::bgraPremultiplied);
        EXPECT_TRUE(reader.startReading());
        std::vector<double> flashes;
        bool wasBright = false;
        while (const auto sample = output.copyNextSample()) {
            const bool isBright = sample->bgra().pixel(10, 10)[1] > 128;
            if (isBright && !wasBright) flashes.push_back(sample->presentationTime.seconds());
            wasBright = isBright;
        }
        return flashes;
    }
    // When its sound becomes loud.
    std::vector<double> beepsOf() const {
        const auto asset = movie();
        media::AssetReader reader(asset);
        media::AudioMixOutput& output = reader.addAudioOutput(asset->tracks(media::TrackKind::audio).at(0).id);
        EXPECT_TRUE(reader.startReading());
        std::vector<double> beeps;
        double lastLoud = -1;
        while (const auto sample = output.copyNextSample()) {
            const auto channels = static_cast<std::size_t>(sample->format.channels);
            for (std::size_t i = 0; i < sample->values.size(); i += channels) {
                if (std::abs(sample->values[i]) < 0.25F) continue;
                const double t =
                    sample->presentationTime.seconds() + static_cast<double>(i / channels) / sample->format.sampleRate;
                if (t - lastLoud > 0.1) beeps.push_back(t);
                lastLoud = t;
            }
        }
        return beeps;
    }

    std::deque<std::shared_ptr<const imaging::BgraPremultipliedBuffer>> pictures_;
};

TEST_F(RecorderPauses, TenOfThemLeavePictureSoundCameraAndPointerInStep) {
    constexpr double kStep = 0.01;
    options_.systemAudio = true;
    const auto camera = useCamera();
    start();
    ASSERT_TRUE(loop_.runUntil([&camera] { return camera->isRunning(); }));
    std::vector<double> expected;
    double movieTime = 0;
    // Sound in pieces that no pause falls between, with a beep, a flash and a press in each of eleven stretches.
    const auto runFor = [&](int steps, int event) {
        for (int i = 0; i < steps; ++i) {
            const bool isBeep = i >= event && i < event + 5;
            platform::SoundBuffer sound{loop_.now() - 0.003, 48000, 2, std::vector<float>(960, 0.0F)};
            for (std::size_t k = 0; k < sound.values.size(); ++k) {
                const double tone = std::sin(static_cast<double>(k / 2) * 0.2);
                if (isBeep) sound.values[k] = tone < 0 ? -0.7F : 0.7F;
            }
            if (i == 5) emitPicture(20);
            if (i == event || i == event + 5) {
                const int grey = isBeep ? 220 : 20;
                emitPicture(grey);
                const auto image = picture(640, 480, grey);
                camera->emitPicture(loop_.now(), image);
                ASSERT_TRUE(loop_.runUntil([&] { return recorder_->webcamPreviewLayer()->latest() == image; }));
            }
            if (i == event) emitPress(40);
            loop_.advance(kStep / 2);
            desktop_.emitSystemAudio(sound);
            loop_.advance(kStep / 2);
        }
    };
    for (int n = 0; n <= 10; ++n) {
        const int steps = 40 + 3 * n;
        expected.push_back(movieTime + 0.2);
        runFor(steps, 20);
        movieTime += steps * kStep;
        if (n == 10) break;
        // Its sound lies three milliseconds before the pictures, so that every pause cuts pieces.
        recorder_->pause(Cause::other);
        runFor(17 + 5 * n, 10);
        recorder_->resume();
    }
    loop_.advance(2);
    emitMove(50);
    emitPicture(20);
    EXPECT_NEAR(recorder_->snapshot().duration, movieTime + 2.003, 1e-6);
    EXPECT_NEAR(statsOf(stopped()).duration, movieTime + 2.003, 1e-5);

    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    const double zero = 1000 - info.t0HostClock;  // sound began the movie
    const std::vector<double> flashes = flashesOf("source.mov");
    const std::vector<double> beeps = beepsOf();
    const std::vector<double> camFlashes = flashesOf("webcam.mov");
    std::vector<double> presses;
    for (const model::PointerSample& each : model::PointerTrack::load(folder_).events) {
        if (each.kind == model::PointerKind::down) presses.push_back(each.t);
    }
    ASSERT_EQ(flashes.size(), expected.size());
    ASSERT_EQ(beeps.size(), expected.size());
    ASSERT_EQ(camFlashes.size(), expected.size());
    ASSERT_EQ(presses.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(flashes[i], expected[i] + zero, 0.001) << i;
        EXPECT_NEAR(beeps[i], expected[i] + zero - 0.003, 0.001) << i;
        EXPECT_NEAR(camFlashes[i] + *info.webcamOffset, expected[i] + zero, 0.001) << i;
        EXPECT_NEAR(presses[i], expected[i] + zero, 1e-6) << i;
    }
    EXPECT_EQ(info.framesDroppedBackpressure, 0);
}

TEST_F(RecorderPauses, WhatAStillScreenCameToShowIsSeenAtOnce) {
    start();
    emitPicture(20);
    loop_.advance(1);
    recorder_->pause(Cause::other);
    loop_.advance(1);
    emitPicture(120);
    loop_.advance(1);
    emitPicture(220);
    loop_.advance(1);
    emitIdle();
    EXPECT_EQ(recorder_->snapshot(), (Recorder::Stats{1, 1, 0, 0, 1})) << "nothing of a pause is counted";
    recorder_->resume();
    emitIdle();
    EXPECT_EQ(recorder_->snapshot().framesWritten, 2);
    loop_.advance(0.7);
    emitPicture(60);
    EXPECT_NEAR(statsOf(stopped()).duration, 1.7, 1e-6);
    EXPECT_EQ(video().sampleCount, 3);
    EXPECT_LT(greyAt(0.99), 60);
    EXPECT_GT(greyAt(1.01), 180);
    EXPECT_GT(greyAt(1.69), 180);
    EXPECT_LT(greyAt(1.71), 100);
}

TEST_F(RecorderPauses, APictureThatIsReplacedAlreadyIsNotShown) {
    start();
    emitPicture(20);
    loop_.advance(1);
    recorder_->pause(Cause::other);
    emitPicture(220);
    pictures_.clear();  // the stream has taken the next one
    loop_.advance(1);
    recorder_->resume();
    emitIdle();
    EXPECT_EQ(recorder_->snapshot().framesWritten, 1);
    emitPicture(120);
    EXPECT_NEAR(statsOf(stopped()).duration, 1, 1e-5);
    EXPECT_NEAR(greyAt(1.01), 119, 8);
}

TEST_F(RecorderPauses, OneBeforeTheFirstPictureLeavesNoTrace) {
    start();
    recorder_->pause(Cause::other);
    loop_.advance(3);
    emitPicture(20);
    loop_.advance(2);
    recorder_->resume();
    emitIdle();
    loop_.advance(1);
    emitPress(40);
    loop_.advance(1.5);
    emitMove(50);
    emitPicture(220);
    EXPECT_NEAR(statsOf(stopped()).duration, 2.5, 1e-6);
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.t0HostClock, 1005) << "the host clock of the movie's first picture";
    EXPECT_EQ(info.t0MediaTime, 1005);
    EXPECT_EQ(info.framesWritten, 2);
    EXPECT_LT(greyAt(2.4), 60);
    const model::PointerTrack track = model::PointerTrack::load(folder_);
    ASSERT_EQ(track.events.size(), 3U);
    EXPECT_EQ(track.events[0].t, 0) << "where the pointer was at the start of the pause";
    EXPECT_EQ(track.events[1].t, 1);
    EXPECT_EQ(track.events[2].t, 2.5);
}

TEST_F(RecorderPauses, AStopInOneEndsTheMovieWhereItBegan) {
    options_.systemAudio = true;
    start();
    emitPicture(20);
    desktop_.emitSystemAudio(sound(1000, 2, 48000));
    loop_.advance(1);
    emitPicture(30);
    loop_.advance(0.5);
    recorder_->pause(Cause::other);
    EXPECT_TRUE(recorder_->isPaused());
    emitPicture(220);
    desktop_.emitSystemAudio(sound(1001.25, 2, 48000));
    loop_.advance(60);
    emitMove(300);
    EXPECT_NEAR(recorder_->snapshot().duration, 1.5, 1e-9);
    EXPECT_NEAR(statsOf(stopped()).duration, 1.25, 1e-6);
    EXPECT_EQ(video().sampleCount, 2);
    EXPECT_NEAR(movie()->duration().seconds(), 1.25, 0.05);
    EXPECT_EQ(model::PointerTrack::load(folder_).events.size(), 1U);
    EXPECT_FALSE(exists("journal"));
}

TEST_F(RecorderPauses, OnesThatFollowAtOnceAreShownAsOne) {
    start();
    emitPicture(20);
    loop_.advance(1);
    for (const int grey : {90, 150, 220}) {
        recorder_->pause(Cause::other);
        recorder_->pause(Cause::pointer);
        loop_.advance(0.5);
        emitPicture(grey);
        recorder_->resume();
        recorder_->resume();
    }
    EXPECT_FALSE(recorder_->isPaused());
    // Nothing else is delivered.
    EXPECT_NEAR(statsOf(stopped()).duration, 1, 1e-5);
    EXPECT_EQ(video().sampleCount, 2);
    EXPECT_GT(greyAt(1.01), 180);
}

TEST_F(RecorderPauses, AnErrorInOneKeepsWhatWasBefore) {
    start();
    emitPicture(20);
    loop_.advance(1);
    emitPicture(220);
    recorder_->pause(Cause::other);
    desktop_.emitStop(RecorderError("Das Fenster ist zu."));
    loop_.advance(1);
    EXPECT_EQ(streamErrors_, std::vector<std::string>{"Das Fenster ist zu."});
    recorder_->resume();
    EXPECT_NEAR(statsOf(stopped()).duration, 1, 1e-6);
    recorder_->pause(Cause::other);
    EXPECT_FALSE(recorder_->isPaused()) << "nothing runs any more";
}

TEST_F(RecorderPauses, APictureThatWaitedKeepsItsTimeFromBefore) {
    startLarge();
    const int sent = emitUntilOneWaits();
    loop_.advance(8);  // the pictures' times go ahead of the clock
    recorder_->pause(Cause::other);
    ASSERT_TRUE(await(60, [&] {
        emitIdle();
        return recorder_->snapshot().framesWritten == sent;
    }));
    statsOf(stopped());
    EXPECT_NEAR(video().duration().seconds(), (sent - 1) / 1000.0, 0.1);
}

TEST_F(RecorderPauses, MarksLieInTheMoviesTime) {
    EXPECT_EQ(make().mark(), 0) << "nothing runs";
    start();
    emitPicture(20);
    loop_.advance(0.5);
    EXPECT_EQ(recorder_->mark(), 1);
    loop_.advance(0.5);
    recorder_->pause(Cause::other);
    loop_.advance(3);
    EXPECT_EQ(recorder_->mark(), 2);
    loop_.advance(3);
    recorder_->resume();
    loop_.advance(1);
    EXPECT_EQ(recorder_->mark(), 3);
    loop_.advance(1);
    emitPicture(90);
    loop_.advance(0.5);
    EXPECT_EQ(recorder_->mark(), 4) << "behind the last picture";
    statsOf(stopped());
    EXPECT_EQ(recorder_->mark(), 0);
    EXPECT_EQ(model::Marks::timesIn(folder_), (std::vector<double>{0.5, 1, 2, 3}));
}

TEST_F(RecorderPauses, WithoutMarksThereIsNoDocumentOfThem) {
    start();
    emitPicture(20);
    statsOf(stopped());
    EXPECT_FALSE(exists("marks.json"));
}

TEST_F(RecorderPauses, TheJournalHasThem) {
    start();
    emitPicture(20);
    loop_.advance(1);
    recorder_->pause(Cause::pointer);
    ASSERT_TRUE(await([this] { return temporary_.read("recording/journal").find(" pause ") != std::string::npos; }));
    EXPECT_TRUE(loadJournal(folder_).pauses.isPaused());
    loop_.advance(0.25);
    recorder_->resume();
    ASSERT_TRUE(await([this] { return !loadJournal(folder_).pauses.isPaused(); }));
    EXPECT_EQ(loadJournal(folder_).pauses.list(), (std::vector<Pause>{{1001, 1001.25, true}}));
    EXPECT_TRUE(logged("[Capture] Pause"));
    EXPECT_TRUE(logged("[Capture] weiter nach 0.250 s Pause"));
    statsOf(stopped());
}

}  // namespace
}  // namespace lumivastor::capture
