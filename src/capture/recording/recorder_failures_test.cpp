// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder.h"

#include <gtest/gtest.h>

#include <new>

#include "support/recording_rig.h"

namespace lumivastor::capture {
namespace {

// What does not start, what ends early, and what is left then.
class RecorderFailures : public DesktopRecordingRig {};

TEST_F(RecorderFailures, StoppingWhatNeverStartedIsAnError) {
    make();
    EXPECT_EQ(errorOf(stopped()), "Es lief keine Aufnahme.");
}

TEST_F(RecorderFailures, StoppingAfterAFailedStartIsAnError) {
    desktop_.failStart(RecorderError("Der Bildschirm ist weg."));
    EXPECT_EQ(startError(), "Der Bildschirm ist weg.");
    EXPECT_EQ(errorOf(stopped()), "Es lief keine Aufnahme.");

    EXPECT_EQ(backgroundStartError(), "Der Bildschirm ist weg.");
    EXPECT_EQ(errorOf(stopped()), "Es lief keine Aufnahme.");
}

TEST_F(RecorderFailures, WhateverAStartThrowsIsItsError) {
    services_.chooseEncoder = [](const media::EncodingJob&) -> media::EncoderChoice { throw std::bad_alloc(); };
    EXPECT_EQ(startError(), "Der Arbeitsspeicher reicht nicht.");
    EXPECT_EQ(backgroundStartError(), "Der Arbeitsspeicher reicht nicht.");
}

TEST_F(RecorderFailures, WhateverASampleThrowsEndsTheRecordingWithAnError) {
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

TEST_F(RecorderFailures, AStartThatFailsPassesTheReasonAndLeavesNothing) {
    desktop_.failStart(RecorderError("Der Bildschirm ist weg."));
    EXPECT_EQ(startError(), "Der Bildschirm ist weg.");
    EXPECT_FALSE(std::filesystem::exists(folder_));
    EXPECT_EQ(desktop_.monitorCount(), 0);
    desktop_.failStart(std::nullopt);
    desktop_.failContent(RecorderError("Der Server antwortet nicht."));
    EXPECT_EQ(startError(), "Der Server antwortet nicht.");
}

TEST_F(RecorderFailures, AFailedStartKeepsWhatElseIsInTheFolder) {
    temporary_.write("recording/notizen.txt", "x");
    desktop_.failStart(RecorderError("Nein."));
    EXPECT_EQ(startError(), "Nein.");
    EXPECT_TRUE(exists("notizen.txt"));
    EXPECT_FALSE(exists("source.mov"));
    EXPECT_FALSE(exists("journal"));
}

TEST_F(RecorderFailures, AFolderThatCannotBeMadeIsAnError) {
    temporary_.write("recording", "eine Datei");
    EXPECT_NE(startError(), "no error");
    EXPECT_EQ(temporary_.read("recording"), "eine Datei") << "not ours to remove";
}

TEST_F(RecorderFailures, APictureTooLargeForAnyReaderIsRefused) {
    options_.source = DisplaySource{{3, "riesig", {0, 0, 20000, 1080}, 1}};
    EXPECT_EQ(startError(), "Videospur konnte nicht angelegt werden.");
    options_.source = DisplaySource{{3, "riesig", {0, 0, 16384, 16384}, 1}};
    EXPECT_EQ(startError(), "Videospur konnte nicht angelegt werden.");
}

TEST_F(RecorderFailures, AStartInTheBackgroundTellsItsFailure) {
    desktop_.failStart(RecorderError("Der Bildschirm ist weg."));
    EXPECT_EQ(backgroundStartError(), "Der Bildschirm ist weg.");
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(RecorderFailures, WhatCouldNotBeCompletedSaysHowItCan) {
    start();
    record(1, 320, 240);
    // The documents find no room.
    std::filesystem::create_directory(folder_ / "capture.json");
    freeSpace_ = FreeSpace{0, 100'000'000};
    const std::string error = errorOf(stopped());
    EXPECT_NE(error.find("Sobald auf dem Datenträger wieder Platz ist"), std::string::npos) << error;
    EXPECT_TRUE(error.ends_with("lumivastor recover '" + folder_.string() + "'")) << error;
}

TEST_F(RecorderFailures, AClosedWindowEndsTheRecordingAndItIsKept) {
    start();
    record(1, 320, 240);
    desktop_.emitStop(RecorderError("Das Fenster wurde geschlossen."));
    ASSERT_TRUE(loop_.runUntil([this] { return !streamErrors_.empty(); }));
    EXPECT_EQ(streamErrors_, (std::vector<std::string>{"Das Fenster wurde geschlossen."}));
    EXPECT_TRUE(logged("[Capture] Stream abgebrochen: Das Fenster wurde geschlossen."));
    EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
    EXPECT_TRUE(exists("capture.json"));
}

TEST_F(RecorderFailures, AStreamThatStopsBadlyIsOnlyLogged) {
    start();
    record(1, 320, 240);
    desktop_.failStop(RecorderError("Das war nichts."));
    EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
    EXPECT_TRUE(logged("[Capture] stopCapture meldete: Das war nichts."));
}

TEST_F(RecorderFailures, SoundThatEndsIsSaidAndTheRestGoesOn) {
    start();
    desktop_.emitNotice("Der Systemton ist weg.");
    record(1, 320, 240);
    EXPECT_EQ(notices_, (std::vector<std::string>{"Der Systemton ist weg."}));
    EXPECT_TRUE(streamErrors_.empty());
    EXPECT_EQ(statsOf(stopped()).framesWritten, 2);
}

TEST_F(RecorderFailures, ADiskThatFillsUpEndsTheRecordingInTime) {
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

TEST_F(RecorderFailures, ADiskThatIsFullAlreadyIsNotRecordedOn) {
    freeSpace_ = FreeSpace{1'000'000, 100'000'000};
    EXPECT_EQ(startError(), "Auf dem Datenträger ist zu wenig Platz für eine Aufnahme.");
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(RecorderFailures, ADiskThatDoesNotTellIsRecordedOn) {
    freeSpace_.reset();
    start();
    record(2, 320, 240);
    EXPECT_EQ(statsOf(stopped()).framesWritten, 4);
}

TEST_F(RecorderFailures, OneThatGoesAwayWithoutAStopLeavesAnUnfinishedFolder) {
    start();
    record(1, 320, 240);
    recorder_.reset();
    EXPECT_FALSE(desktop_.isStreamRunning());
    EXPECT_TRUE(exists("journal"));
    EXPECT_TRUE(exists("source.mov"));
    EXPECT_FALSE(exists("capture.json"));
    loop_.advance(5);
}

TEST_F(RecorderFailures, CallbacksMayDestroyTheRecorder) {
    start();
    record(1, 320, 240);
    recorder_->onStreamError([this](const RecorderError&) { recorder_.reset(); });
    desktop_.emitStop(RecorderError("Ende."));
    ASSERT_TRUE(loop_.runUntil([this] { return recorder_ == nullptr; }));
}

}  // namespace
}  // namespace lumivastor::capture
