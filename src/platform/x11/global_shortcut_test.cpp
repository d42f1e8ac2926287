#include "platform/x11/global_shortcut.h"

#include <gtest/gtest.h>

#include <atomic>

#include "base/recorder_error.h"
#include "platform/x11/compositing.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_window.h"
#include "support/desktop_rig/scripted_keyboard.h"

namespace lumivastor {
namespace {

constexpr KeyCombination kKeys{.letter = 'S', .control = true, .alt = true, .shift = true};
constexpr unsigned kNumLock = 0xff7f;

class GlobalShortcutTest : public testing::Test {
  protected:
    std::unique_ptr<GlobalShortcut> grab() {
        return grabX11Shortcut(
            kKeys, [this] { ++pressed_; }, desktop_.displayName());
    }
    void pressAll() {
        keyboard_.press({ScriptedKeyboard::kControl, ScriptedKeyboard::kAlt, ScriptedKeyboard::kShift, 's'});
    }
    bool waitForPresses(int count) {
        return waitFor([&] { return pressed_ == count; });
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

TEST_F(GlobalShortcutTest, AServerThatGoesAwayIsHarmless) {
    const auto shortcut = grab();
    desktop_.killServer();
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
}  // namespace lumivastor
