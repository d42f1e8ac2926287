// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/portal_shortcut.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <string>

#include "base/recorder_error.h"
#include "platform/desktop.h"
#include "platform/wayland/wayland_desktop.h"
#include "support/await.h"
#include "support/portal_standin.h"
#include "support/running_threads.h"

namespace lumivastor::wayland {
namespace {

using Answer = PortalStandin::Answer;

constexpr platform::KeyCombination kKeys{.letter = 'S', .control = true, .alt = true, .shift = true};

class PortalShortcutTest : public testing::Test {
  protected:
    void openPortal(const PortalStandin::Options& options = {}) {
        portal_ = std::make_unique<PortalStandin>(bus_.address(), "/nowhere", options);
    }
    void openPortal(Answer answer) {
        PortalStandin::Options options;
        options.answer = answer;
        openPortal(options);
    }
    std::unique_ptr<platform::GlobalShortcut> grab(std::stop_token stop = {}) {
        return grabPortalShortcut(
            bus_.address(), {kKeys, "Aufnahme stoppen", "wayland:window"}, [this] { ++pressed_; }, std::move(stop));
    }
    std::string failure() {
        try {
            grab();
        } catch (const RecorderError& error) {
            return error.message();
        }
        return "";
    }
    std::string id() const { return portal_->lastCall("BindShortcuts").options.at("id"); }
    bool waitForPresses(int count) {
        return await([&] { return pressed_ == count; });
    }
    // Nothing of a shortcut is left.
    bool isOver() {
        return await([&] { return portal_->sessions() == 0 && runningThreads("wayland.keys") == 0; });
    }

    BusRig bus_;
    std::unique_ptr<PortalStandin> portal_;
    std::atomic<int> pressed_ = 0;
};

TEST_F(PortalShortcutTest, IsHeardUntilItGoes) {
    openPortal();
    EXPECT_TRUE(offersPortalShortcuts(bus_.address()));
    auto shortcut = grab();
    const auto call = portal_->lastCall("BindShortcuts");
    EXPECT_EQ(call.options.at("preferred_trigger"), "CTRL+ALT+SHIFT+s");
    EXPECT_EQ(call.options.at("description"), "Aufnahme stoppen");
    EXPECT_EQ(call.parentWindow, "wayland:window");
    const std::string own = id();
    portal_->pressShortcut(own);
    EXPECT_TRUE(waitForPresses(1));
    portal_->pressShortcut("another");
    portal_->pressShortcut(own);
    portal_->pressShortcut(own);
    EXPECT_TRUE(waitForPresses(3));
    shortcut.reset();
    portal_->pressShortcut(own);
    EXPECT_TRUE(isOver());
    EXPECT_EQ(pressed_, 3);
}

TEST_F(PortalShortcutTest, HasTheKeysThatTheUserBound) {
    openPortal();
    const auto shortcut = grab();
    EXPECT_EQ(shortcut->keys(), "Meta+F9");
    portal_->bindOtherKeys(id(), "Meta+F10");
    EXPECT_TRUE(await([&] { return shortcut->keys() == "Meta+F10"; }));
    portal_->bindOtherKeys(id(), "");
    EXPECT_TRUE(await([&] { return shortcut->keys().empty(); }));
    portal_->pressShortcut(id());
    EXPECT_TRUE(waitForPresses(1));
}

TEST_F(PortalShortcutTest, OneDialogBindsFurtherKeys) {
    openPortal();
    std::atomic<int> paused = 0;
    platform::ShortcutRequest request{kKeys, "Aufnahme stoppen", ""};
    request.further = {{{.letter = 'P', .control = true}, "pause", "Aufnahme pausieren", [&] { ++paused; }}};
    const auto shortcut = grabPortalShortcut(bus_.address(), request, [this] { ++pressed_; }, {});
    const auto call = portal_->lastCall("BindShortcuts");
    EXPECT_EQ(call.options.at("further"), "pause CTRL+p Aufnahme pausieren");
    EXPECT_EQ(portal_->sessions(), 1);
    EXPECT_EQ(shortcut->keys(), "Meta+F9");
    portal_->pressShortcut("pause");
    EXPECT_TRUE(await([&] { return paused == 1; }));
    portal_->pressShortcut(id());
    EXPECT_TRUE(waitForPresses(1));
    EXPECT_EQ(paused, 1);
}

TEST_F(PortalShortcutTest, IsWhatTheDesktopGrabs) {
    const auto desktop = openWaylandDesktop(nullptr, {bus_.address(), "/nowhere", {}});
    EXPECT_FALSE(desktop->offersShortcuts());
    openPortal();
    EXPECT_TRUE(desktop->offersShortcuts());
    const auto shortcut = desktop->grabShortcut({kKeys, "Aufnahme stoppen", ""}, [this] { ++pressed_; }, {});
    EXPECT_EQ(shortcut->keys(), "Meta+F9");
    portal_->pressShortcut(id());
    EXPECT_TRUE(waitForPresses(1));
}

TEST_F(PortalShortcutTest, BelongsToItsOwnSession) {
    openPortal();
    const auto first = grab();
    const auto second = grabPortalShortcut(bus_.address(), {kKeys, "", ""}, [this] { pressed_ += 10; }, {});
    portal_->pressShortcut(id());
    EXPECT_TRUE(waitForPresses(10));
    portal_->bindOtherKeys(id(), "Meta+F10");
    EXPECT_TRUE(await([&] { return second->keys() == "Meta+F10"; }));
    EXPECT_EQ(first->keys(), "Meta+F9");
}

TEST_F(PortalShortcutTest, RefusalAndFailureAreDifferentErrors) {
    openPortal(Answer::refuse);
    EXPECT_EQ(failure(), "Das Tastenkürzel wurde im Dialog abgelehnt.");
    portal_->answer(Answer::fail);
    EXPECT_EQ(failure(), "Der Desktop konnte das Tastenkürzel nicht anmelden.");
    EXPECT_TRUE(isOver());
}

TEST_F(PortalShortcutTest, AShortcutTakenOutOfTheDialogIsRefused) {
    PortalStandin::Options options;
    options.boundKeys.reset();
    openPortal(options);
    EXPECT_EQ(failure(), "Das Tastenkürzel wurde im Dialog abgelehnt.");
    EXPECT_TRUE(isOver());
}

TEST_F(PortalShortcutTest, WithoutTheInterfaceOrAPortalNothingIsPromised) {
    EXPECT_FALSE(offersPortalShortcuts(bus_.address()));
    EXPECT_EQ(failure(), platform::kNoShortcuts);
    EXPECT_FALSE(offersPortalShortcuts("nonsense"));
    PortalStandin::Options options;
    options.shortcutsVersion = 0;
    openPortal(options);
    EXPECT_FALSE(offersPortalShortcuts(bus_.address()));
    EXPECT_EQ(failure(), platform::kNoShortcuts);
    EXPECT_EQ(portal_->calls().size(), 0u);
}

TEST_F(PortalShortcutTest, AStopClosesTheDialog) {
    openPortal(Answer::none);
    std::stop_source stop;
    auto shortcut = std::async(std::launch::async, [&] { return grab(stop.get_token()); });
    ASSERT_TRUE(await([&] { return portal_->openDialogs() == 1; }));
    stop.request_stop();
    EXPECT_EQ(shortcut.get(), nullptr);
    EXPECT_TRUE(await([&] { return portal_->closedDialogs() == 1; }));
    EXPECT_TRUE(isOver());
}

TEST_F(PortalShortcutTest, IsSilentWithoutKeysWhenItsPortalDies) {
    openPortal();
    auto shortcut = grab();
    ASSERT_TRUE(await([] { return runningThreads("wayland.keys") == 1; }));
    portal_->vanish();
    EXPECT_TRUE(await([&] { return shortcut->keys().empty(); }));
    EXPECT_TRUE(await([] { return runningThreads("wayland.keys") == 0; }));
    EXPECT_EQ(pressed_, 0);
    shortcut.reset();
    portal_.reset();
    openPortal();
    shortcut = grab();
    bus_.kill();
    EXPECT_TRUE(await([&] { return shortcut->keys().empty(); }));
}

TEST_F(PortalShortcutTest, IsSilentWhenTheDesktopTakesItBack) {
    openPortal();
    const auto shortcut = grab();
    portal_->stopSharing();
    EXPECT_TRUE(await([&] { return shortcut->keys().empty(); }));
    EXPECT_TRUE(isOver());
}

}  // namespace
}  // namespace lumivastor::wayland
