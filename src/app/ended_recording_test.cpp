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

TEST_F(EndedRecordingTest, WhatWasNeverCheckedIsTheNewestComplete) {
    for (const char* name : {"2025-01-01", "2025-01-02", "2025-01-03", "2025-01-04", "laeuft", "leer"}) {
        temporary_.write(std::filesystem::path("Movies") / name / "source.mov", "");
        if (name[0] != 'l') temporary_.write(std::filesystem::path("Movies") / name / "capture.json", "{}");
    }
    temporary_.write("Movies/2025-01-03/quality.json", "{}");
    temporary_.write("Movies/2025-01-04/journal", "");
    EXPECT_EQ(uncheckedRecordings(root_, 5), (std::vector{root_ / "2025-01-02", root_ / "2025-01-01"}));
    EXPECT_EQ(uncheckedRecordings(root_, 1), std::vector{root_ / "2025-01-02"});
    EXPECT_TRUE(uncheckedRecordings(root_ / "fehlt", 5).empty());
}

TEST_F(EndedRecordingTest, ACheckThatWasMissedIsMadeUpForInSilence) {
    find(false, "Die Prüfung fand Fehler.");
    temporary_.write("Movies/2025-01-01/source.mov", "");
    temporary_.write("Movies/2025-01-01/capture.json", "{}");
    launch();
    const std::string status = view_.state.status;
    ASSERT_TRUE(loop_.runUntil([this] { return checks_ == 1; }));
    EXPECT_EQ(checkedFolder_, root_ / "2025-01-01");
    EXPECT_EQ(view_.state.status, status);
    EXPECT_FALSE(hasNotice());
}

TEST_F(EndedRecordingTest, NothingIsCheckedInSilenceWhileARecordingRuns) {
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;
    beforeLaunch_ = [&](AppServices& services) {
        services.prove = [&](const std::filesystem::path& folder, const std::stop_token& stop) {
            if (folder.filename() == "2025-01-01" && ++begun == 1) {
                while (!stop.stop_requested()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
                throw RecorderError("Abgebrochen.");
            }
            ++ended;
            return model::RecordingQuality{};
        };
    };
    temporary_.write("Movies/2025-01-01/source.mov", "");
    temporary_.write("Movies/2025-01-01/capture.json", "{}");
    launch();
    ASSERT_TRUE(loop_.runUntil([&] { return begun == 1; }));
    startRecording();
    ASSERT_TRUE(loop_.runUntil([this] { return logged("[Capture] Prüfung: Abgebrochen."); }));
    EXPECT_EQ(begun, 1);
    stopRecording();
    ASSERT_TRUE(loop_.runUntil([&] { return ended == 2; })) << "the recording, and then what was cut short";
    EXPECT_EQ(begun, 2);
    app_.reset();
}

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
