// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/global_shortcut.h"

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "base/recorder_error.h"
#include "platform/x11/compositing.h"
#include "support/await.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_window.h"
#include "support/desktop_rig/scripted_keyboard.h"
#include "support/running_threads.h"

namespace lumivastor::x11 {
namespace {

constexpr platform::KeyCombination kKeys{.letter = 'S', .control = true, .alt = true, .shift = true};
constexpr unsigned kNumLock = 0xff7f;

class GlobalShortcutTest : public testing::Test {
  protected:
    std::unique_ptr<platform::GlobalShortcut> grab() {
        return grabX11Shortcut(
            kKeys, [this] { ++pressed_; }, desktop_.displayName());
    }
    void pressAll() {
        keyboard_.press({ScriptedKeyboard::kControl, ScriptedKeyboard::kAlt, ScriptedKeyboard::kShift, 's'});
    }
    bool waitForPresses(int count) {
        return await([&] { return pressed_ == count; });
    }

    // Gives the key that types `symbol` other symbols.
    void setKey(xcb_keysym_t symbol, const std::vector<xcb_keysym_t>& symbols) {
        xcb_connection_t* const connection = desktop_.connection();
        const xcb_setup_t* const setup = xcb_get_setup(connection);
        const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> reply(
            xcb_get_keyboard_mapping_reply(
                connection,
                xcb_get_keyboard_mapping(connection, setup->min_keycode,
                                         static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1)),
                nullptr),
            &std::free);
        ASSERT_NE(reply, nullptr);
        const xcb_keysym_t* const all = xcb_get_keyboard_mapping_keysyms(reply.get());
        for (int i = 0; i < xcb_get_keyboard_mapping_keysyms_length(reply.get()); i += reply->keysyms_per_keycode) {
            if (all[i] != symbol) continue;
            const auto key = static_cast<xcb_keycode_t>(setup->min_keycode + i / reply->keysyms_per_keycode);
            xcb_change_keyboard_mapping(connection, 1, key, static_cast<std::uint8_t>(symbols.size()), symbols.data());
        }
        desktop_.sync();
    }

    DesktopRig desktop_;
    ScriptedKeyboard keyboard_{desktop_.displayName()};
    std::atomic<int> pressed_ = 0;
};

TEST_F(GlobalShortcutTest, IsHeardWhicheverWindowHasTheKeyboard) {
    const RigWindow other(desktop_.displayName());
    const auto shortcut = grab();
    pressAll();
    EXPECT_TRUE(waitForPresses(1));
    pressAll();
    EXPECT_TRUE(waitForPresses(2));
}

TEST_F(GlobalShortcutTest, IsHeardWhileNumbersAreLocked) {
    const auto shortcut = grab();
    keyboard_.press({kNumLock});
    pressAll();
    EXPECT_TRUE(waitForPresses(1));
}

TEST_F(GlobalShortcutTest, IsHeardWhereTheLetterBelongsToAnotherLayout) {
    // As with two layouts of which the first is of another script.
    constexpr std::uint32_t kYeru = 0x6d9;
    constexpr std::uint32_t kYeruCapital = 0x6f9;
    setKey('s', {kYeru, kYeruCapital, 's', 'S'});
    const auto shortcut = grab();
    keyboard_.press({ScriptedKeyboard::kControl, ScriptedKeyboard::kAlt, ScriptedKeyboard::kShift, kYeru});
    EXPECT_TRUE(waitForPresses(1));
}

TEST_F(GlobalShortcutTest, OtherCombinationsAreNotMeant) {
    const auto shortcut = grab();
    keyboard_.press({'s'});
    keyboard_.press({ScriptedKeyboard::kControl, 's'});
    keyboard_.press({ScriptedKeyboard::kControl, ScriptedKeyboard::kAlt, ScriptedKeyboard::kShift, 'a'});
    pressAll();
    EXPECT_TRUE(waitForPresses(1));
}

TEST_F(GlobalShortcutTest, BelongsToOneProgramAtATime) {
    auto shortcut = grab();
    EXPECT_THROW(grab(), RecorderError);
    shortcut.reset();
    shortcut = grab();
    pressAll();
    EXPECT_TRUE(waitForPresses(1));
}

TEST_F(GlobalShortcutTest, AServerThatGoesAwayEndsItsThreadAndIsNoPress) {
    auto shortcut = grab();
    pressAll();
    ASSERT_TRUE(waitForPresses(1));
    ASSERT_EQ(runningThreads("x11.shortcut"), 1);
    desktop_.killServer();
    EXPECT_TRUE(await([] { return runningThreads("x11.shortcut") == 0; })) << "it spins on a dead connection";
    EXPECT_EQ(pressed_, 1);
    shortcut.reset();
    EXPECT_THROW(grab(), RecorderError);
}

TEST(GlobalShortcut, NeedsAServer) {
    EXPECT_THROW(grabX11Shortcut(
                     kKeys, [] {}, ":54321"),
                 RecorderError);
    EXPECT_FALSE(hasCompositingManager(":54321"));
}

TEST_F(GlobalShortcutTest, NobodyComposesWithoutAManager) {
    EXPECT_FALSE(hasCompositingManager(desktop_.displayName()));
}

}  // namespace
}  // namespace lumivastor::x11
