// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder.h"

#include <gtest/gtest.h>

#include <future>
#include <limits>
#include <new>
#include <thread>

#include "media/reading/asset.h"
#include "media/reading/still_picture.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "support/await.h"
#include "support/folder_listing.h"
#include "support/recorder_rig.h"

namespace lumivastor::capture {
namespace {

class Recorders : public RecorderRig {
  protected:
    Recorders() { options_.source = DisplaySource{mainDisplay()}; }

    Recorder& make() {
        recorder_ = std::make_unique<Recorder>(services_, options_, folder_);
        recorder_->onStreamError([this](const RecorderError& error) { streamErrors_.push_back(error.message()); });
        recorder_->onNotice([this](const std::string& sentence) { notices_.push_back(sentence); });
        return *recorder_;
    }
    Recorder& start() {
        make().start();
        return *recorder_;
    }

    Recorder::Outcome stopped() {
        std::optional<Recorder::Outcome> outcome;
        recorder_->stop([&outcome](const Recorder::Outcome& given) { outcome = given; });
        EXPECT_TRUE(loop_.runUntil([&outcome] { return outcome.has_value(); }));
        return outcome.value_or(RecorderError("never completed"));
    }
    Recorder::Stats statsOf(const Recorder::Outcome& outcome) {
        if (const auto* error = std::get_if<RecorderError>(&outcome)) ADD_FAILURE() << error->message();
        const auto* stats = std::get_if<Recorder::Stats>(&outcome);
        return stats == nullptr ? Recorder::Stats{} : *stats;
    }
    std::string errorOf(const Recorder::Outcome& outcome) {
        const auto* error = std::get_if<RecorderError>(&outcome);
        return error == nullptr ? "no error" : error->message();
    }
    std::string startError() {
        try {
            make().start();
        } catch (const RecorderError& error) {
            return error.message();
        }
        return "no error";
    }

    // Faster than any encoder, until one finds no room; how many that were, the last of which waits.
    int emitUntilOneWaits() {
        int sent = 0;
        do {
            desktop_.emitScreen(
                {platform::FrameStatus::complete, 1000 + sent / 1000.0, sent % 2 == 0 ? bright_ : dark_});
            ++sent;
        } while (recorder_->snapshot().framesWritten == sent && sent < 5000);
        EXPECT_LT(recorder_->snapshot().framesWritten, sent);
        return sent;
    }

    bool exists(const char* name) const { return std::filesystem::exists(folder_ / name); }

    static platform::SoundBuffer sound(double seconds, int channels, std::size_t frames = 480) {
        return {seconds, 48000, channels, std::vector<float>(frames * static_cast<std::size_t>(channels), 0.1F)};
    }

    Recorder::Options options_;
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> dark_ = picture(1920, 1080, 10);
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> bright_ = picture(1920, 1080, 200);
    std::unique_ptr<Recorder> recorder_;
    std::vector<std::string> streamErrors_;
    std::vector<std::string> notices_;
};

TEST_F(Recorders, ADisplayBecomesAMovieAndItsDocuments) {
    desktop_.setCursor(cursor(1, 24, 24));
    desktop_.setPointerLocation(Point{30, 40});
    start();
    record(3, 320, 240);
    desktop_.emitScreen({platform::FrameStatus::idle, loop_.now(), nullptr});
    desktop_.emitScreen({platform::FrameStatus::complete, loop_.now(), nullptr});
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(stats, (Recorder::Stats{2.5, 6, 2, 0, 1})) << stats.duration;

    const media::Asset movie(folder_ / "source.mov");
    ASSERT_EQ(movie.tracks().size(), 1u);
    EXPECT_EQ(movie.tracks()[0].width, 320);
    EXPECT_EQ(movie.tracks()[0].sampleCount, 6);
    EXPECT_FALSE(movie.isFragmented());

    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.version, 1);
    EXPECT_EQ(info.sourceKind, "display");
    EXPECT_EQ(info.displayID, 7u);
    EXPECT_EQ(info.displayWidth, 320);
    EXPECT_EQ(info.t0HostClock, 1000);
    EXPECT_EQ(info.t0MediaTime, 1000);
    EXPECT_EQ(info.duration, 2.5);
    EXPECT_EQ(info.framesWritten, 6);
    EXPECT_EQ(info.framesSkippedIdle, 2);
    EXPECT_EQ(info.framesDroppedBackpressure, 0);
    EXPECT_EQ(info.pointerEvents, 1);
    EXPECT_EQ(info.cursorPollsWithoutCursor, 0);
    EXPECT_FALSE(info.webcamFile.has_value());
    EXPECT_FALSE(info.webcamOffset.has_value());
    EXPECT_FALSE(info.windowTitle.has_value());

    const model::PointerTrack track = model::PointerTrack::load(folder_);
    EXPECT_EQ(track.events.at(0).px, 30);
    EXPECT_EQ(track.cursorImages.at(0).id, "c0");
    EXPECT_FALSE(track.windowFrames.has_value());
    EXPECT_FALSE(exists("journal"));
}

TEST_F(Recorders, StartsAndStopsItsPartsInOrder) {
    desktop_.setWindowFrame(77, window().frame);
    options_.source = WindowSource{window()};
    start();
    record(0.5, 320, 240);
    stopped();
    recorder_.reset();
    EXPECT_EQ(desktop_.calls(),
              (std::vector<std::string>{"monitorPointer", "startStream", "endMonitor", "stopStream"}));
}

TEST_F(Recorders, SaysWhatItDoesInTheLog) {
    options_.fps = 30;
    options_.source = DisplaySource{otherDisplay()};
    options_.systemAudio = true;
    start();
    desktop_.emitScreen({platform::FrameStatus::started, 999.75, picture(1280, 720)});
    desktop_.emitScreen({platform::FrameStatus::complete, 1000.75, picture(1280, 720)});
    stopped();
    EXPECT_EQ(
        log(),
        (std::vector<std::string>{
            "[Capture] Writer bereit: libx264 (nur ein Test), Bitrate 2 Mbit/s", "[Pointer] Aufzeichnung gestartet",
            "[Capture] gestartet: 1280×720 @ 30 fps, Ton=true Mikro=false, Skalierung=2.0",
            "[Capture] Zeitbasis: Host-Uhr 999.750 s, Medienzeit 1000.000 s, Abstand 250.0 ms",
            "[Pointer] Aufzeichnung beendet, 1 Ereignisse", "[Pointer] gesichert: 1 Ereignisse, 1 Cursorformen",
            "[Capture] fertig: 1.0 s, 2 Bilder, 0 leer, 0 verworfen, 1 Zeigerereignisse"}));
}

TEST_F(Recorders, TheEncoderIsChosenForTheMoviesSize) {
    options_.fps = 30;
    start();
    ASSERT_EQ(encodingJobs().size(), 1u);
    EXPECT_EQ(encodingJobs()[0].width, 320);
    EXPECT_EQ(encodingJobs()[0].height, 240);
    EXPECT_EQ(encodingJobs()[0].frameRate, 30);
    EXPECT_EQ(encodingJobs()[0].averageBitRate, 184320);
}

TEST_F(Recorders, ARegionHasItsOwnSizeAndThePointerIsRelativeToIt) {
    options_.source = RegionSource{otherDisplay(), {100, 50, 161, 91}};
    desktop_.setPointerLocation(Point{1110, 170});
    start();
    EXPECT_EQ(desktop_.configuration()->sourceRect, (Rect{100, 50, 161, 91}));
    record(1, 322, 182);
    stopped();
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.sourceKind, "region");
    EXPECT_EQ(info.displayX, 1000);
    EXPECT_EQ(info.contentX, 100);
    EXPECT_EQ(info.pixelWidth, 322);
    EXPECT_EQ(model::PointerTrack::load(folder_).events.at(0).px, 20);
    EXPECT_EQ(model::PointerTrack::load(folder_).events.at(0).py, 40);
}

TEST_F(Recorders, AWindowIsFollowed) {
    options_.source = WindowSource{window()};
    desktop_.setWindowFrame(77, Rect{1100, 150, 160, 120});
    desktop_.setPointerLocation(Point{1100, 150});
    start();
    record(1, 320, 240);
    desktop_.setWindowFrame(77, Rect{1200, 150, 160, 120});
    record(1, 320, 240);
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now(), {1200, 160}, 0, 0});
    stopped();
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.sourceKind, "window");
    EXPECT_EQ(info.displayID, 0u);
    EXPECT_EQ(info.displayX, 1100);
    EXPECT_EQ(info.displayHeight, 120);
    EXPECT_EQ(info.windowTitle, "Terminal – Sitzung 1");
    const model::PointerTrack track = model::PointerTrack::load(folder_);
    ASSERT_EQ(track.windowFrames->size(), 2u);
    EXPECT_EQ(track.windowFrames->at(0).x, 1100);
    EXPECT_EQ(track.windowFrames->at(1).x, 1200);
    ASSERT_EQ(track.events.size(), 2u);
    EXPECT_EQ(track.events[0].px, 0);
    EXPECT_EQ(track.events[1].px, 0);
    EXPECT_EQ(track.events[1].py, 20);
}

TEST_F(Recorders, SoundBecomesTracksOfItsOwn) {
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

TEST_F(Recorders, WithoutKnownMicrophoneItsTrackHasOneChannel) {
    options_.microphone = true;
    sound_.setDefaultMicrophone(std::nullopt);
    start();
    EXPECT_FALSE(desktop_.hasSystemAudioOutput());
    desktop_.emitScreen({platform::FrameStatus::started, 1000, picture(320, 240)});
    for (int i = 0; i < 20; ++i) desktop_.emitMicrophone(sound(1000 + i / 100.0, 2));
    stopped();
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks(media::TrackKind::audio).at(0).channels, 1);
}

TEST_F(Recorders, SoundThatComesFirstStartsTheSessionAtItsTime) {
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

TEST_F(Recorders, AMovieThatSoundBeginsBeginsWithTheLastPictureUntilThen) {
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

TEST_F(Recorders, PicturesFromBeforeTheSessionAloneAreAMovieToo) {
    options_.systemAudio = true;
    start();
    desktop_.emitSystemAudio(sound(1000.25, 2));
    desktop_.emitSystemAudio(sound(1000.35, 2));
    desktop_.emitScreen({platform::FrameStatus::started, 1000.1, picture(320, 240)});
    EXPECT_EQ(statsOf(stopped()).framesWritten, 1);
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks(media::TrackKind::video).at(0).sampleCount, 1);
}

TEST_F(Recorders, SoundAloneIsKept) {
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

TEST_F(Recorders, ThePointerFollowsADisplayThatMoves) {
    options_.source = DisplaySource{otherDisplay()};
    desktop_.setPointerLocation(Point{1010, 110});
    start();
    desktop_.emitDisplayOrigin(1000, {1000, 100});  // where it is anyway
    record(1, 1280, 720);
    // By 800 of its pixels to the right.
    desktop_.emitDisplayOrigin(loop_.now(), {1800, 100});
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now() + 0.25, {1410, 110}, 0, 0});
    record(1, 1280, 720);
    stopped();
    const model::PointerTrack track = model::PointerTrack::load(folder_);
    ASSERT_EQ(track.events.size(), 2u);
    for (const model::PointerSample& each : track.events) {
        EXPECT_EQ(each.px, 20);
        EXPECT_EQ(each.py, 20);
    }
    EXPECT_EQ(model::CaptureInfo::load(folder_).displayX, 1000) << "where it was at the start";
}

TEST_F(Recorders, OnlyIdleFramesAreNoRecording) {
    start();
    for (int i = 0; i < 5; ++i) desktop_.emitScreen({platform::FrameStatus::idle, loop_.now(), nullptr});
    EXPECT_EQ(recorder_->snapshot(), (Recorder::Stats{0, 0, 5, 0, 1}));
    EXPECT_EQ(errorOf(stopped()),
              "Es wurde kein einziges Bild aufgenommen. Fehlt die Berechtigung für die Bildschirmaufnahme?");
    EXPECT_FALSE(std::filesystem::exists(folder_)) << "nothing is left behind";
}

TEST_F(Recorders, ARepeatedPictureIsWrittenAsOne) {
    start();
    const auto still = picture(320, 240);
    for (int i = 0; i < 5; ++i) desktop_.emitScreen({platform::FrameStatus::complete, 1000.0 + i, still});
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(stats.framesWritten, 5);
    EXPECT_EQ(stats.duration, 4);
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks()[0].sampleCount, 5);
}

TEST_F(Recorders, PicturesThatTheWriterHasNoRoomForAreCounted) {
    options_.source = DisplaySource{{3, "groß", {0, 0, 1920, 1080}, 1}};
    start();
    // Faster than any encoder, until the queue is full and one waits that another replaces.
    int sent = 0;
    while (recorder_->snapshot().framesDropped == 0 && sent < 5000) {
        desktop_.emitScreen({platform::FrameStatus::complete, 1000 + sent / 1000.0, sent % 2 == 0 ? bright_ : dark_});
        ++sent;
    }
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(stats.framesDropped, 1);
    EXPECT_EQ(stats.framesWritten, sent - 1);
    EXPECT_EQ(model::CaptureInfo::load(folder_).framesDroppedBackpressure, 1);
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks()[0].sampleCount, sent - 1);
}

TEST_F(Recorders, APictureThatFoundNoRoomIsShownOnceThereIs) {
    options_.source = DisplaySource{{3, "groß", {0, 0, 1920, 1080}, 1}};
    start();
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

TEST_F(Recorders, APictureThatWaitsAtTheStopIsWritten) {
    options_.source = DisplaySource{{3, "groß", {0, 0, 1920, 1080}, 1}};
    start();
    const int sent = emitUntilOneWaits();
    const Recorder::Stats stats = statsOf(stopped());
    EXPECT_EQ(stats.framesWritten, sent);
    EXPECT_EQ(stats.framesDropped, 0);
    EXPECT_NEAR(stats.duration, (sent - 1) / 1000.0, 1e-6);
}

TEST_F(Recorders, TheWebcamsBeginIsRelativeToTheMovies) {
    options_.webcam = true;
    auto camera = std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    devices_.setDefaultCamera(camera);
    start();
    ASSERT_TRUE(loop_.runUntil([&camera] { return camera->isRunning(); }));
    EXPECT_NE(recorder_->webcamPreviewLayer(), nullptr);
    camera->emitPicture(999.5);
    camera->emitPicture(1000.5);
    record(1, 320, 240);
    stopped();
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.webcamFile, "webcam.mov");
    EXPECT_EQ(info.webcamOffset, -0.5);
    EXPECT_EQ(media::Asset(folder_ / "webcam.mov").tracks().at(0).sampleCount, 2);
}

TEST_F(Recorders, WithoutACameraTheRecordingGoesOn) {
    options_.webcam = true;
    start();
    EXPECT_TRUE(logged("[Webcam] Start fehlgeschlagen: Es wurde keine Kamera gefunden."));
    EXPECT_EQ(recorder_->webcamPreviewLayer(), nullptr);
    record(1, 320, 240);
    statsOf(stopped());
    EXPECT_EQ(notices_,
              (std::vector<std::string>{"Die Kamera wird nicht aufgenommen: Es wurde keine Kamera gefunden."}));
    EXPECT_FALSE(model::CaptureInfo::load(folder_).webcamFile.has_value());
}

TEST_F(Recorders, ACameraThatGaveNoPictureIsNotInTheDocument) {
    options_.webcam = true;
    devices_.setDefaultCamera(
        std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0}));
    start();
    record(1, 320, 240);
    stopped();
    EXPECT_FALSE(model::CaptureInfo::load(folder_).webcamFile.has_value());
    EXPECT_FALSE(model::CaptureInfo::load(folder_).webcamOffset.has_value());
}

TEST_F(Recorders, TheSnapshotCountsWhileItRuns) {
    start();
    EXPECT_EQ(recorder_->snapshot(), (Recorder::Stats{0, 0, 0, 0, 1}));
    record(2, 320, 240);
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now(), {1, 1}, 0, 0});
    desktop_.emitPointer({platform::PointerEventType::leftMouseDown, loop_.now(), {1, 1}, 0, 0});
    const Recorder::Stats running = recorder_->snapshot();
    EXPECT_NEAR(running.duration, 2, 1e-6);
    EXPECT_EQ(running.framesWritten, 4);
    EXPECT_EQ(running.pointerEvents, 3);
    EXPECT_EQ(statsOf(stopped()).pointerEvents, 2);  // without the click that stopped it
}

TEST_F(Recorders, StoppingWhatNeverStartedIsAnError) {
    make();
    EXPECT_EQ(errorOf(stopped()), "Es lief keine Aufnahme.");
}

TEST_F(Recorders, StoppingAfterAFailedStartIsAnError) {
    desktop_.failStart(RecorderError("Der Bildschirm ist weg."));
    EXPECT_EQ(startError(), "Der Bildschirm ist weg.");
    EXPECT_EQ(errorOf(stopped()), "Es lief keine Aufnahme.");

    std::optional<std::optional<RecorderError>> told;
    make().start([&told](const std::optional<RecorderError>& error) { told = error; });
    ASSERT_TRUE(loop_.runUntil([&told] { return told.has_value(); }));
    EXPECT_EQ(errorOf(stopped()), "Es lief keine Aufnahme.");
}

TEST_F(Recorders, WhateverAStartThrowsIsItsError) {
    services_.chooseEncoder = [](const media::EncodingJob&) -> media::EncoderChoice { throw std::bad_alloc(); };
    EXPECT_EQ(startError(), "Der Arbeitsspeicher reicht nicht.");
    std::optional<std::optional<RecorderError>> told;
    make().start([&told](const std::optional<RecorderError>& error) { told = error; });
    ASSERT_TRUE(loop_.runUntil([&told] { return told.has_value(); }));
    ASSERT_TRUE(told->has_value());
    EXPECT_EQ((*told)->message(), "Der Arbeitsspeicher reicht nicht.");
}

TEST_F(Recorders, WhateverASampleThrowsEndsTheRecordingWithAnError) {
    bool fails = false;
    services_.hostClock = [this, &fails] {
        if (fails) throw std::bad_alloc();
        return loop_.now();
    };
    options_.systemAudio = true;
    for (const bool bySound : {false, true}) {
        streamErrors_.clear();
        start();
        fails = true;
        if (bySound) {
            desktop_.emitSystemAudio(sound(1000, 2));
        } else {
            desktop_.emitScreen({platform::FrameStatus::started, 1000, picture(320, 240)});
        }
        EXPECT_TRUE(loop_.runUntil([this] { return !streamErrors_.empty(); }));
        EXPECT_EQ(streamErrors_, std::vector<std::string>{"Der Arbeitsspeicher reicht nicht."});
        fails = false;
        EXPECT_EQ(errorOf(stopped()),
                  "Es wurde kein einziges Bild aufgenommen. Fehlt die Berechtigung für die Bildschirmaufnahme?");
    }
    recorder_.reset();  // before the clock
}

TEST_F(Recorders, ASecondStopDoesNothing) {
    start();
    record(0.5, 320, 240);
    int completions = 0;
    recorder_->stop([&completions](const Recorder::Outcome&) { ++completions; });
    recorder_->stop([&completions](const Recorder::Outcome&) { completions += 10; });
    ASSERT_TRUE(loop_.runUntil([&completions] { return completions > 0; }));
    loop_.advance(1);
    EXPECT_EQ(completions, 1);
}

TEST_F(Recorders, WhatItRecordsIsForTheUserAlone) {
    desktop_.setCursor(cursor(1, 16, 16));
    start();
    record(1, 320, 240);
    EXPECT_EQ(modeOf(folder_ / "journal"), 0600u);
    stopped();
    EXPECT_EQ(modeOf(folder_), 0700u);
    EXPECT_EQ(modeOf(folder_ / "cursors"), 0700u);
    for (const char* name : {"source.mov", "capture.json", "pointer.json", "cursors/c0.png"}) {
        EXPECT_EQ(modeOf(folder_ / name), 0600u) << name;
    }
    EXPECT_EQ(namesIn(folder_), (std::vector<std::string>{"capture.json", "cursors", "pointer.json", "source.mov"}));
}

TEST_F(Recorders, AStartThatFailsPassesTheReasonAndLeavesNothing) {
    desktop_.failStart(RecorderError("Der Bildschirm ist weg."));
    EXPECT_EQ(startError(), "Der Bildschirm ist weg.");
    EXPECT_FALSE(std::filesystem::exists(folder_));
    EXPECT_EQ(desktop_.monitorCount(), 0);
    desktop_.failStart(std::nullopt);
    desktop_.failContent(RecorderError("Der Server antwortet nicht."));
    EXPECT_EQ(startError(), "Der Server antwortet nicht.");
}

TEST_F(Recorders, AFailedStartKeepsWhatElseIsInTheFolder) {
    temporary_.write("recording/notizen.txt", "x");
    desktop_.failStart(RecorderError("Nein."));
    EXPECT_EQ(startError(), "Nein.");
    EXPECT_TRUE(exists("notizen.txt"));
    EXPECT_FALSE(exists("source.mov"));
    EXPECT_FALSE(exists("journal"));
}

TEST_F(Recorders, AFolderThatCannotBeMadeIsAnError) {
    temporary_.write("recording", "eine Datei");
    EXPECT_NE(startError(), "no error");
}

TEST_F(Recorders, APictureTooLargeForAnyReaderIsRefused) {
    options_.source = DisplaySource{{3, "riesig", {0, 0, 20000, 1080}, 1}};
    EXPECT_EQ(startError(), "Videospur konnte nicht angelegt werden.");
    options_.source = DisplaySource{{3, "riesig", {0, 0, 16384, 16384}, 1}};
    EXPECT_EQ(startError(), "Videospur konnte nicht angelegt werden.");
}

TEST_F(Recorders, StartsInTheBackgroundToo) {
    std::optional<std::optional<RecorderError>> told;
    make().start([&told](const std::optional<RecorderError>& error) { told = error; });
    ASSERT_TRUE(loop_.runUntil([&told] { return told.has_value(); }));
    EXPECT_FALSE(told->has_value());
    record(1, 320, 240);
    EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
}

TEST_F(Recorders, AStartInTheBackgroundTellsItsFailure) {
    desktop_.failStart(RecorderError("Der Bildschirm ist weg."));
    std::optional<std::optional<RecorderError>> told;
    make().start([&told](const std::optional<RecorderError>& error) { told = error; });
    ASSERT_TRUE(loop_.runUntil([&told] { return told.has_value(); }));
    ASSERT_TRUE(told->has_value());
    EXPECT_EQ((*told)->message(), "Der Bildschirm ist weg.");
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(Recorders, ACameraIsOpenedAndStoppedWithoutTheMainThread) {
    options_.webcam = true;
    auto camera = std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    devices_.setDefaultCamera(camera);
    for (const bool startFails : {false, true}) {
        desktop_.failStart(startFails ? std::optional(RecorderError("Nein.")) : std::nullopt);
        std::optional<std::optional<RecorderError>> told;
        make().start([&told](const std::optional<RecorderError>& error) { told = error; });
        ASSERT_TRUE(loop_.runUntil([&told] { return told.has_value(); }));
        EXPECT_EQ(told->has_value(), startFails);
        if (!startFails) {
            record(1, 320, 240);
            EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
        }
        EXPECT_EQ(exists("webcam.mov"), false) << "no picture came";
    }
    EXPECT_EQ(camera->openedOn().size(), 2u);
    for (const auto& threads : {camera->openedOn(), camera->stoppedOn()}) {
        for (const auto thread : threads) EXPECT_NE(thread, std::this_thread::get_id());
    }
}

TEST_F(Recorders, ACameraOrAnEncoderThatIsSlowToOpenIsTold) {
    options_.webcam = true;
    auto camera = std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    devices_.setDefaultCamera(camera);
    std::promise<void> encoder;
    std::promise<void> opened;
    camera->holdOpens(opened.get_future().share());
    services_.chooseEncoder = [choose = services_.chooseEncoder,
                               until = encoder.get_future().share()](const media::EncodingJob& job) {
        until.wait();
        return choose(job);
    };
    std::vector<std::string> told;
    bool hasStarted = false;
    make().onSlowStep([&told](const std::string& what) { told.push_back(what); });
    recorder_->start([&](const std::optional<RecorderError>& error) { hasStarted = !error; });
    const auto untilTold = [&](std::size_t count) {
        return await(30, [&] {
            loop_.advance(StartWatch::kLook);
            return told.size() == count;
        });
    };
    ASSERT_TRUE(untilTold(1));
    EXPECT_EQ(told[0], "Suche einen passenden Encoder …");
    encoder.set_value();
    ASSERT_TRUE(untilTold(2));
    EXPECT_EQ(told[1], "Öffne die Kamera …");
    EXPECT_FALSE(hasStarted);
    opened.set_value();
    ASSERT_TRUE(loop_.runUntil([&] { return hasStarted; }));
    record(1, 320, 240);
    statsOf(stopped());
    EXPECT_EQ(told.size(), 2u);
}

TEST_F(Recorders, WhatCouldNotBeCompletedSaysHowItCan) {
    start();
    record(1, 320, 240);
    // The documents find no room.
    std::filesystem::create_directory(folder_ / "capture.json");
    freeSpace_ = FreeSpace{0, 100'000'000};
    const std::string error = errorOf(stopped());
    EXPECT_NE(error.find("Sobald auf dem Datenträger wieder Platz ist"), std::string::npos) << error;
    EXPECT_TRUE(error.ends_with("lumivastor recover '" + folder_.string() + "'")) << error;
}

TEST_F(Recorders, AClosedWindowEndsTheRecordingAndItIsKept) {
    start();
    record(1, 320, 240);
    desktop_.emitStop(RecorderError("Das Fenster wurde geschlossen."));
    ASSERT_TRUE(loop_.runUntil([this] { return !streamErrors_.empty(); }));
    EXPECT_EQ(streamErrors_, (std::vector<std::string>{"Das Fenster wurde geschlossen."}));
    EXPECT_TRUE(logged("[Capture] Stream abgebrochen: Das Fenster wurde geschlossen."));
    EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
    EXPECT_TRUE(exists("capture.json"));
}

TEST_F(Recorders, AStreamThatStopsBadlyIsOnlyLogged) {
    start();
    record(1, 320, 240);
    desktop_.failStop(RecorderError("Das war nichts."));
    EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
    EXPECT_TRUE(logged("[Capture] stopCapture meldete: Das war nichts."));
}

TEST_F(Recorders, SoundThatEndsIsSaidAndTheRestGoesOn) {
    start();
    desktop_.emitNotice("Der Systemton ist weg.");
    record(1, 320, 240);
    EXPECT_EQ(notices_, (std::vector<std::string>{"Der Systemton ist weg."}));
    EXPECT_TRUE(streamErrors_.empty());
    EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
}

TEST_F(Recorders, ADiskThatFillsUpEndsTheRecordingInTime) {
    start();
    record(3, 320, 240);
    EXPECT_TRUE(streamErrors_.empty());
    freeSpace_ = FreeSpace{1'000'000, 100'000'000};
    loop_.advance(1);
    loop_.runPending();
    ASSERT_EQ(streamErrors_.size(), 1u);
    EXPECT_EQ(streamErrors_[0], diskNearlyFull().message());
    loop_.advance(5);
    EXPECT_EQ(streamErrors_.size(), 1u) << "told once";
    EXPECT_EQ(statsOf(stopped()).framesWritten, 6);
}

TEST_F(Recorders, ADiskThatIsFullAlreadyIsNotRecordedOn) {
    freeSpace_ = FreeSpace{1'000'000, 100'000'000};
    EXPECT_EQ(startError(), "Auf dem Datenträger ist zu wenig Platz für eine Aufnahme.");
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(Recorders, ADiskThatDoesNotTellIsRecordedOn) {
    freeSpace_.reset();
    start();
    record(2, 320, 240);
    EXPECT_EQ(statsOf(stopped()).framesWritten, 4);
}

TEST_F(Recorders, OneThatGoesAwayWithoutAStopLeavesAnUnfinishedFolder) {
    start();
    record(1, 320, 240);
    recorder_.reset();
    EXPECT_FALSE(desktop_.isStreamRunning());
    EXPECT_TRUE(exists("journal"));
    EXPECT_TRUE(exists("source.mov"));
    EXPECT_FALSE(exists("capture.json"));
    loop_.advance(5);
}

TEST_F(Recorders, CallbacksMayDestroyTheRecorder) {
    start();
    record(1, 320, 240);
    recorder_->onStreamError([this](const RecorderError&) { recorder_.reset(); });
    desktop_.emitStop(RecorderError("Ende."));
    ASSERT_TRUE(loop_.runUntil([this] { return recorder_ == nullptr; }));
}

TEST_F(Recorders, EventsFromBeforeTheMovieHaveNegativeTimes) {
    start();
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, 999.5, {1, 1}, 0, 0});
    desktop_.emitPointer({platform::PointerEventType::leftMouseDown, 999.6, {1, 1}, 0, 0});
    record(2, 320, 240);
    desktop_.emitPointer({platform::PointerEventType::mouseMoved, loop_.now(), {1, 1}, 0, 0});
    stopped();
    const model::PointerTrack track = model::PointerTrack::load(folder_);
    ASSERT_EQ(track.events.size(), 4u);
    EXPECT_EQ(track.events[0].t, -0.5);
    EXPECT_NEAR(track.events[1].t, -0.4, 1e-9);
}

TEST_F(Recorders, SamplesWithoutATimeAreIgnored) {
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
