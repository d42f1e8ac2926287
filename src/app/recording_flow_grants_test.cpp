// SPDX-License-Identifier: GPL-3.0-or-later

// The recording flow where the desktop's own dialog chooses.

#include <gtest/gtest.h>

#include <filesystem>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "app/recording_flow.h"
#include "model/capture_info.h"
#include "support/app_rig.h"

namespace lumivastor::app {
namespace {

class RecordingFlowOfGrants : public AppRig {
  protected:
    const std::filesystem::path recording_ = root_ / "2025-03-14_09-05-33";

    RecordingFlowOfGrants() {
        desktop_.setContent({});
        desktop_.setPicker({true, true, platform::PointerKnowledge::positions, true});
    }
    void launchAndAsk() {
        launch();
        app_->toggleRecording();
        ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    }
    // From the dialog's answer to the countdown, and from there to the recording.
    void grantScreen() {
        desktop_.answerPick(screen_);
        ASSERT_TRUE(loop_.runUntil([this] { return view_.state.countdown.has_value(); }));
    }
    void countDown() {
        loop_.advance(3.4);
        ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme stoppen"; }));
    }
    const platform::Display screen_{5, "HEADLESS-1", {0, 0, 640, 400}, 1};

    // The main window as it was before.
    void expectIdle() const {
        EXPECT_EQ(view_.state.recordTitle, "Aufnahme starten");
        EXPECT_TRUE(view_.state.recordEnabled && view_.state.controlsEnabled);
        EXPECT_FALSE(std::filesystem::exists(recording_));
    }
};

TEST_F(RecordingFlowOfGrants, AsksFirstAndCountsDownAfterwards) {
    launchAndAsk();
    EXPECT_EQ(desktop_.openPick()->kind, platform::ContentPicker::Kind::display);
    EXPECT_EQ(desktop_.openPick()->maximumRate, 60);
    EXPECT_EQ(view_.state.status, "Warte auf den Dialog des Desktops …");
    EXPECT_EQ(view_.state.recordTitle, "Auswahl abbrechen");
    EXPECT_FALSE(view_.state.controlsEnabled);
    // The user takes a minute.
    loop_.advance(60);
    EXPECT_FALSE(view_.state.countdown);

    grantScreen();
    countDown();
    emitPicture();
    stopRecording();
    EXPECT_TRUE(view_.state.status.starts_with("Fertig: ")) << view_.state.status;
    EXPECT_EQ(std::get<platform::DisplayFilter>(*desktop_.filter()).display.name, "HEADLESS-1");
    EXPECT_EQ(model::CaptureInfo::load(recording_).sourceKind, "display");
}

TEST_F(RecordingFlowOfGrants, AWindowIsAskedForAsOne) {
    launch();
    app_->sourceTypeChanged(SourceType::window);
    EXPECT_EQ(view_.state.chooseTitle, "Fenster wählen …");
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    EXPECT_EQ(desktop_.openPick()->kind, platform::ContentPicker::Kind::window);
    platform::Window window;
    window.id = 6;
    window.displayID = 6;
    window.frame = {0, 0, 320, 200};
    desktop_.answerPick(window);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.countdown.has_value(); }));
}

TEST_F(RecordingFlowOfGrants, RefusalIsSaidAndLeavesNothing) {
    launchAndAsk();
    desktop_.answerPick(RecorderError("Die Aufnahme wurde im Dialog abgelehnt."));
    untilStatus("Die Aufnahme wurde im Dialog abgelehnt.");
    expectIdle();
}

TEST_F(RecordingFlowOfGrants, WhatTheDialogThrowsIsSaid) {
    launchAndAsk();
    desktop_.answerPick(std::make_exception_ptr(std::bad_alloc()));
    untilStatus("Der Arbeitsspeicher reicht nicht.");
    expectIdle();
}

TEST_F(RecordingFlowOfGrants, TheRecordButtonClosesTheDialog) {
    launchAndAsk();
    app_->toggleRecording();
    untilStatus("Auswahl abgebrochen.");
    EXPECT_FALSE(desktop_.openPick());
    expectIdle();
    // And again.
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
}

TEST_F(RecordingFlowOfGrants, QuittingClosesTheDialog) {
    launchAndAsk();
    app_.reset();
    EXPECT_FALSE(desktop_.openPick());
}

TEST_F(RecordingFlowOfGrants, AGrantThatIsNotRecordedIsGivenBack) {
    launchAndAsk();
    grantScreen();
    app_.reset();
    EXPECT_EQ(desktop_.releaseCount(), 1);
}

TEST_F(RecordingFlowOfGrants, NothingOfTheProgramIsOnTheScreenWhileItRecords) {
    view_.hasTray = false;
    launchAndAsk();
    view_.calls.clear();
    grantScreen();
    // The main window counts down, and says how to stop without it.
    EXPECT_EQ(view_.calls, std::vector<std::string>{"showMainWindow"});
    EXPECT_EQ(view_.state.countdown->number, 3);
    EXPECT_NE(view_.state.countdown->note.find("Strg+Alt+Umschalt+S"), std::string::npos);
    EXPECT_EQ(view_.state.countdown->note.find("Symbol in der Leiste"), std::string::npos);
    loop_.advance(2);
    EXPECT_EQ(view_.state.countdown->number, 1);
    EXPECT_EQ(view_.count("hideAllWindows"), 0);
    loop_.advance(1);
    EXPECT_FALSE(view_.state.countdown);
    EXPECT_EQ(view_.calls.back(), "hideAllWindows");
    // Not before the compositor has faded the window out.
    loop_.advance(0.3);
    EXPECT_NE(view_.state.status, "Starte …");
    loop_.advance(0.1);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme stoppen"; }));
    EXPECT_EQ(view_.panelHasShortcut, std::nullopt);
    EXPECT_EQ(view_.count("countdown 3"), 0);
    emitPicture();
    stopRecording();
    EXPECT_EQ(view_.count("showAllWindows"), 1);
    EXPECT_EQ(view_.count("removePanel"), 0);
}

TEST_F(RecordingFlowOfGrants, TheShortcutIsAskedForOnceBeforeTheCountdown) {
    grabWaits_ = true;
    launchAndAsk();
    desktop_.answerPick(screen_);
    ASSERT_TRUE(loop_.runUntil([this] { return !desktop_.openPick(); }));
    loop_.advance(5);
    EXPECT_FALSE(view_.state.countdown);
    EXPECT_EQ(view_.state.recordTitle, "Auswahl abbrechen");
    grabWaits_ = false;
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.countdown.has_value(); }));
    countDown();
    emitPicture();
    // Those for a pause and a mark were offered in the same dialog.
    pressKeys_.at('P')();
    ASSERT_TRUE(loop_.runUntil([this] { return view_.count("paused") == 1; }));
    pressKeys_.at('P')();
    pressKeys_.at('M')();
    ASSERT_TRUE(loop_.runUntil([this] { return view_.count("marks 1") == 1; }));
    pressShortcut_();
    untilStatus("Fertig: ");
    pressKeys_.at('P')();
    pressKeys_.at('M')();
    loop_.runPending();
    // It stays bound, without a dialog for the next recording.
    EXPECT_TRUE(pressShortcut_);
    grabWaits_ = true;
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    grantScreen();
}

TEST_F(RecordingFlowOfGrants, TheRecordButtonClosesTheShortcutsDialogToo) {
    grabWaits_ = true;
    launchAndAsk();
    desktop_.answerPick(screen_);
    ASSERT_TRUE(loop_.runUntil([this] { return !desktop_.openPick(); }));
    // Until the answer has come through.
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.chooseTitle != "Bildschirm wählen …"; }));
    app_->toggleRecording();
    untilStatus("Auswahl abgebrochen.");
    EXPECT_EQ(desktop_.releaseCount(), 1);
    expectIdle();
}

TEST_F(RecordingFlowOfGrants, AFailedStartBringsTheWindowsBack) {
    launchAndAsk();
    grantScreen();
    desktop_.failContent(RecorderError("weg"));
    loop_.advance(3.4);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.status.starts_with("Start fehlgeschlagen: "); }));
    EXPECT_EQ(view_.count("showAllWindows"), 1);
    EXPECT_EQ(desktop_.releaseCount(), 1);
    expectIdle();
}

TEST_F(RecordingFlowOfGrants, StartingTheProgramAgainIsTheWayToTheStopButton) {
    launchAndAsk();
    grantScreen();
    view_.calls.clear();
    app_->applicationShouldHandleReopen(false);
    EXPECT_TRUE(view_.calls.empty()) << "a countdown is not disturbed";
    countDown();
    emitPicture();
    view_.calls.clear();
    app_->applicationShouldHandleReopen(false);
    EXPECT_EQ(view_.calls, std::vector<std::string>{"showMainWindow"});
    stopRecording();
}

TEST_F(RecordingFlowOfGrants, AChoiceIsKeptForTheNextRecording) {
    launch();
    EXPECT_EQ(view_.state.chooseTitle, "Bildschirm wählen …");
    app_->chooseContent();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    EXPECT_TRUE(desktop_.openPick()->asksAgain);
    desktop_.answerPick(screen_);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.chooseTitle != "Bildschirm wählen …"; }));
    EXPECT_EQ(view_.state.chooseTitle, "Gewählt: HEADLESS-1, 640×400 px – ändern …");
    EXPECT_EQ(view_.state.recordTitle, "Aufnahme starten");
    EXPECT_FALSE(view_.state.countdown);

    // No further question.
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.countdown.has_value(); }));
    countDown();
    emitPicture();
    stopRecording();
    EXPECT_EQ(view_.state.chooseTitle, "Bildschirm wählen …");
    EXPECT_EQ(desktop_.releaseCount(), 0) << "the recording has taken it over";
}

TEST_F(RecordingFlowOfGrants, AChoiceWhoseSharingWasEndedIsAskedForAgain) {
    launch();
    app_->chooseContent();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    desktop_.answerPick(screen_);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme starten"; }));
    desktop_.endSharing();
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    EXPECT_FALSE(desktop_.openPick()->asksAgain);
}

TEST_F(RecordingFlowOfGrants, AChoiceThatIsOfNoUseIsGivenBack) {
    launch();
    app_->chooseContent();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    desktop_.answerPick(screen_);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme starten"; }));
    app_->sourceTypeChanged(SourceType::region);
    EXPECT_EQ(view_.state.chooseTitle, "Gewählt: HEADLESS-1, 640×400 px – ändern …") << "a region of the same display";
    EXPECT_EQ(desktop_.releaseCount(), 0);
    app_->sourceTypeChanged(SourceType::window);
    EXPECT_EQ(view_.state.chooseTitle, "Fenster wählen …");
    EXPECT_EQ(desktop_.releaseCount(), 1);
    app_->sourceTypeChanged(SourceType::display);
    EXPECT_EQ(view_.state.chooseTitle, "Bildschirm wählen …");
    // The same when the main window is closed.
    app_->chooseContent();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    desktop_.answerPick(screen_);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.recordTitle == "Aufnahme starten"; }));
    EXPECT_TRUE(app_->mainWindowShouldClose());
    EXPECT_EQ(desktop_.releaseCount(), 2);
}

TEST_F(RecordingFlowOfGrants, ARegionIsDrawnOnAPictureOfTheScreen) {
    desktop_.setStillPicture(imaging::BgraPremultipliedBuffer(640, 400));
    launch();
    app_->sourceTypeChanged(SourceType::region);
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    view_.calls.clear();
    desktop_.answerPick(screen_);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.count("hideAllWindows") == 1; }));
    loop_.advance(0.4);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.count("pickOnPicture HEADLESS-1") == 1; }));
    ASSERT_NE(view_.regionPicture, nullptr);
    EXPECT_EQ(view_.regionPicture->width(), 640);
    EXPECT_EQ(view_.count("arm HEADLESS-1"), 0);
    view_.regionCompletion(Rect{100, 50, 320, 200});
    EXPECT_EQ(view_.count("showAllWindows"), 1);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.countdown.has_value(); }));
    countDown();
    emitPicture();
    stopRecording();
    EXPECT_EQ(model::CaptureInfo::load(recording_).sourceKind, "region");
}

TEST_F(RecordingFlowOfGrants, ACancelledRegionGivesTheGrantBack) {
    desktop_.setStillPicture(imaging::BgraPremultipliedBuffer(640, 400));
    launch();
    app_->sourceTypeChanged(SourceType::region);
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    desktop_.answerPick(screen_);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.count("hideAllWindows") == 1; }));
    loop_.advance(0.4);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.count("pickOnPicture HEADLESS-1") == 1; }));
    view_.regionCompletion(std::nullopt);
    EXPECT_EQ(view_.state.status, "Ausschnitt-Auswahl abgebrochen.");
    EXPECT_EQ(view_.count("showAllWindows"), 1);
    EXPECT_EQ(desktop_.releaseCount(), 1);
    expectIdle();
}

TEST_F(RecordingFlowOfGrants, WithoutAPictureOfTheScreenNoRegionCanBeDrawn) {
    launch();
    app_->sourceTypeChanged(SourceType::region);
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.openPick().has_value(); }));
    desktop_.answerPick(screen_);
    ASSERT_TRUE(loop_.runUntil([this] { return view_.count("hideAllWindows") == 1; }));
    loop_.advance(0.4);
    untilStatus("Der Desktop schickt kein Bild des Bildschirms. Versuch es noch einmal.");
    EXPECT_EQ(view_.count("showAllWindows"), 1);
    expectIdle();
}

TEST_F(RecordingFlowOfGrants, ADesktopThatCannotBeAskedSaysWhy) {
    desktop_.failContent(RecorderError("Es fehlt das Paket xdg-desktop-portal-wlr."));
    launch();
    EXPECT_EQ(view_.state.status, "Es fehlt das Paket xdg-desktop-portal-wlr.");
    EXPECT_EQ(view_.state.sourceItems, std::vector<std::string>{"nicht möglich"});
}

}  // namespace
}  // namespace lumivastor::app
