// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "media/reading/asset.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "support/await.h"
#include "support/folder_listing.h"
#include "support/recording_rig.h"

namespace lumivastor::capture {
namespace {

class Recorders : public DesktopRecordingRig {};

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
    EXPECT_FALSE(info.pointerKnown.has_value());

    const model::PointerTrack track = model::PointerTrack::load(folder_);
    EXPECT_EQ(track.events.at(0).px, 30);
    EXPECT_EQ(track.cursorImages.at(0).id, "c0");
    EXPECT_FALSE(track.windowFrames.has_value());
    EXPECT_FALSE(exists("journal"));
}

TEST_F(Recorders, TheDocumentSaysWhatIsNotKnownOfThePointer) {
    desktop_.setPointerKnowledge(platform::PointerKnowledge::positions);
    desktop_.setPointerLocation(Point{30, 40});
    start();
    record(1, 320, 240);
    stopped();
    const model::CaptureInfo info = model::CaptureInfo::load(folder_);
    EXPECT_EQ(info.pointerKnown, model::KnownPointer::positions);
    EXPECT_EQ(info.pointerEvents, 1);
}

TEST_F(Recorders, WithoutPositionsNoneIsWritten) {
    desktop_.setPointerKnowledge(platform::PointerKnowledge::embedded);
    desktop_.setPointerCanBeWatched(false);
    start();
    record(1, 320, 240);
    stopped();
    EXPECT_EQ(model::CaptureInfo::load(folder_).pointerKnown, model::KnownPointer::embedded);
    EXPECT_TRUE(model::PointerTrack::load(folder_).events.empty());
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

TEST_F(Recorders, TheWebcamsBeginIsRelativeToTheMovies) {
    const auto camera = useCamera();
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
    useCamera();
    start();
    record(1, 320, 240);
    stopped();
    EXPECT_FALSE(model::CaptureInfo::load(folder_).webcamFile.has_value());
    EXPECT_FALSE(model::CaptureInfo::load(folder_).webcamOffset.has_value());
}

TEST_F(Recorders, ACameraIsOpenedAndStoppedWithoutTheMainThread) {
    const auto camera = useCamera();
    for (const bool startFails : {false, true}) {
        desktop_.failStart(startFails ? std::optional(RecorderError("Nein.")) : std::nullopt);
        EXPECT_EQ(backgroundStartError(), startFails ? "Nein." : "no error");
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
    const auto camera = useCamera();
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
    // The loop's time may be far ahead of the threads': other steps are slow, too, then.
    const auto untilTold = [&](const std::string& what) {
        return await(30, [&] {
            loop_.advance(StartWatch::kLook);
            return !told.empty() && told.back() == what;
        });
    };
    EXPECT_TRUE(untilTold("Suche einen passenden Encoder …"));
    encoder.set_value();
    EXPECT_TRUE(untilTold("Öffne die Kamera …"));
    EXPECT_FALSE(hasStarted);
    const std::size_t steps = told.size();
    opened.set_value();
    ASSERT_TRUE(loop_.runUntil([&] { return hasStarted; }));
    record(1, 320, 240);
    statsOf(stopped());
    EXPECT_EQ(told.size(), steps) << "not beyond the start";
}

TEST_F(Recorders, StartsInTheBackgroundToo) {
    EXPECT_EQ(backgroundStartError(), "no error");
    record(1, 320, 240);
    EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
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

}  // namespace
}  // namespace lumivastor::capture
