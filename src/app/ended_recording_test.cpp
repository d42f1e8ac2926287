// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ended_recording.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "base/recorder_error.h"
#include "support/app_rig.h"

namespace lumivastor::app {
namespace {

class EndedRecordingTest : public AppRig {
  protected:
    // What each check finds.
    void find(bool ok, const std::string& summary) {
        beforeLaunch_ = [=, this](AppServices& services) {
            services.prove = [=, this](const std::filesystem::path& folder, const std::stop_token&) {
                checkedFolder_ = folder;
                while (isHeld_) std::this_thread::sleep_for(std::chrono::milliseconds(1));
                model::RecordingQuality quality;
                quality.ok = ok;
                quality.summary = summary;
                ++checks_;
                return quality;
            };
        };
    }
    void record() {
        startRecording();
        stopRecording();
        untilStatus("Fertig: ");
    }
    bool hasNotice() const { return view_.state.notices.contains(NoticeKind::recording); }

    std::filesystem::path checkedFolder_;
    std::atomic<bool> isHeld_ = false;
    std::atomic<int> checks_ = 0;
};

TEST_F(EndedRecordingTest, WhatWasFoundFollowsTheResult) {
    find(true, "Geprüft: 0:01 min, 1 Bild, ohne Ton.");
    launch();
    isHeld_ = true;
    record();
    const std::string result = view_.state.status;
    // The editor does not wait for it.
    EXPECT_EQ(checks_, 0);
    EXPECT_EQ(view_.calls.back().rfind("editor ", 0), 0U) << view_.calls.back();
    isHeld_ = false;
    ASSERT_TRUE(loop_.runUntil([&] { return view_.state.status != result; }));
    EXPECT_EQ(view_.state.status, result + "\nGeprüft: 0:01 min, 1 Bild, ohne Ton.");
    EXPECT_FALSE(hasNotice());
    EXPECT_EQ(checkedFolder_.parent_path(), root_);
}

TEST_F(EndedRecordingTest, AFaultIsANoticeUntilTheNextRecording) {
    find(false, "Die Prüfung fand Fehler: Das Mikrofon war durchgehend stumm.");
    launch();
    record();
    ASSERT_TRUE(loop_.runUntil([&] { return hasNotice(); }));
    EXPECT_EQ(view_.state.notices.at(NoticeKind::recording).text,
              "Die Prüfung fand Fehler: Das Mikrofon war durchgehend stumm.");
    EXPECT_TRUE(view_.state.status.ends_with("\nDie Prüfung fand Fehler: Das Mikrofon war durchgehend stumm."));
    app_->toggleRecording();
    ASSERT_TRUE(loop_.runUntil([&] { return !hasNotice(); }));
}

TEST_F(EndedRecordingTest, AStatusThatHasChangedSinceStays) {
    find(true, "Geprüft.");
    launch();
    isHeld_ = true;
    record();
    app_->refreshSources();
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.status != "Suche Quellen …"; }));
    const std::string status = view_.state.status;
    isHeld_ = false;
    ASSERT_TRUE(loop_.runUntil([this] { return checks_ == 1; }));
    loop_.runPending();
    EXPECT_EQ(view_.state.status, status);
}

TEST_F(EndedRecordingTest, ACheckThatFailsSaysNothingThere) {
    launch();
    record();
    const std::string result = view_.state.status;
    app_->refreshSources();
    ASSERT_TRUE(loop_.runUntil([this] { return view_.state.status != "Suche Quellen …"; }));
    EXPECT_TRUE(result.starts_with("Fertig: "));
    EXPECT_FALSE(hasNotice());
}

TEST_F(EndedRecordingTest, TheEndOfTheProgramEndsACheck) {
    std::atomic<bool> isRunning = false;
    beforeLaunch_ = [&isRunning](AppServices& services) {
        services.prove = [&isRunning](const std::filesystem::path&, const std::stop_token& stop) {
            isRunning = true;
            while (!stop.stop_requested()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
            throw RecorderError("Abgebrochen.");
            return model::RecordingQuality();
        };
    };
    launch();
    record();
    ASSERT_TRUE(loop_.runUntil([&] { return isRunning.load(); }));
    app_.reset();
}

}  // namespace
}  // namespace lumivastor::app
