// SPDX-License-Identifier: GPL-3.0-or-later

// The list of recordings of the program itself, on a display server of the tests' own, worked with pointer and keys.

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include "support/await.h"
#include "support/driven_application.h"
#include "support/small_recording.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kTab = 0xff09;
constexpr unsigned kDelete = 0xffff;
constexpr unsigned kF2 = 0xffbf;

class RecordingsOnDesktop : public testing::Test {
  protected:
    ~RecordingsOnDesktop() override {
        if (HasFailure()) std::cerr << "The program's log:\n" << app_.log();
    }

    fs::path root() const { return app_.home() / "Movies/LumiVastor"; }
    void makeRecording(const std::string& name) const {
        fs::create_directories(root() / name);
        makeSmallRecording(root() / name, 30, 1080);
    }
    void type(const std::string& text) {
        for (const char each : text) app_.keyboard().press({static_cast<unsigned char>(each)});
        sleepFor(0.5);
    }

    WindowMap map_;
    DesktopRig desktop_{{.hasWindowManager = true}};
    DrivenApplication app_{desktop_, map_, {.environment = {{"XDG_DATA_HOME", ""}, {"XDG_CACHE_HOME", ""}}}};
};

TEST_F(RecordingsOnDesktop, ARecordingIsFoundRenamedThrownAwayAndAnotherOneOpened) {
    for (const char* name : {"Vorführung", "Übung 1", "Übung 2"}) makeRecording(name);
    ASSERT_TRUE(app_.start());
    ASSERT_TRUE(app_.click("studioButton"));
    ASSERT_TRUE(app_.waitForWindow(kRecordingsTitle));
    // Until the list is read and the window manager has given it the keyboard.
    sleepFor(1.5);

    // The search field has the focus; its first hit is selected.
    type("uebung");
    app_.keyboard().press({ScriptedKeyboard::kEscape});
    sleepFor(0.5);
    ASSERT_TRUE(app_.clickRecording("Übung 1"));
    app_.keyboard().press({kF2});
    sleepFor(0.5);
    type("kapitel 8");
    app_.keyboard().press({ScriptedKeyboard::kReturn});
    ASSERT_TRUE(await([this] { return fs::is_directory(root() / "kapitel 8"); }));
    EXPECT_FALSE(fs::exists(root() / "Übung 1"));
    EXPECT_TRUE(fs::exists(root() / "kapitel 8/source.mov"));
    sleepFor(0.5);

    app_.keyboard().press({kDelete});
    ASSERT_TRUE(app_.waitForWindow("In den Papierkorb"));
    sleepFor(0.5);
    // "Abbrechen" has the focus.
    app_.keyboard().press({ScriptedKeyboard::kReturn});
    ASSERT_TRUE(app_.waitForNoWindow("In den Papierkorb"));
    EXPECT_TRUE(fs::exists(root() / "kapitel 8"));
    sleepFor(0.5);
    ASSERT_TRUE(app_.clickInRecordings("trashButton"));
    ASSERT_TRUE(app_.waitForWindow("In den Papierkorb"));
    sleepFor(0.5);
    app_.keyboard().press({kTab});
    app_.keyboard().press({' '});
    const fs::path trash = app_.home() / ".local/share/Trash";
    ASSERT_TRUE(await([&] { return fs::exists(trash / "files/kapitel 8/source.mov"); }));
    EXPECT_FALSE(fs::exists(root() / "kapitel 8"));
    const std::string information = readText(trash / "info/kapitel 8.trashinfo");
    EXPECT_TRUE(information.starts_with("[Trash Info]\nPath=" + app_.home().path().string())) << information;
    EXPECT_NE(information.find("/Movies/LumiVastor/kapitel%208\nDeletionDate="), std::string::npos) << information;
    ASSERT_TRUE(app_.waitForNoWindow("In den Papierkorb"));
    sleepFor(0.5);

    ASSERT_TRUE(app_.clickRecording("Vorführung"));
    app_.pointer().click(1);
    app_.pointer().click(1);
    EXPECT_TRUE(app_.waitForWindow("LumiVastor – Vorführung"));
    app_.program().signal(SIGTERM);
    EXPECT_EQ(app_.program().wait(), 0);
}

}  // namespace
}  // namespace lumivastor
