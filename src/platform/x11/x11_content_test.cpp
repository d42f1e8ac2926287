// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/x11/x11_desktop.h"
#include "support/await.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_window.h"

namespace lumivastor::x11 {
namespace {

const platform::Window* titled(const platform::ShareableContent& content, const std::string& title) {
    const auto found = std::find_if(content.windows.begin(), content.windows.end(),
                                    [&](const platform::Window& one) { return one.title == title; });
    return found == content.windows.end() ? nullptr : &*found;
}

std::vector<std::string> titles(const platform::ShareableContent& content) {
    std::vector<std::string> all;
    for (const platform::Window& window : content.windows) all.push_back(window.title.value_or(""));
    return all;
}

// Sets a variable for a test; no other thread runs when it begins and ends.
class Variable {
  public:
    Variable(const char* name, const char* value) : name_(name) { setenv(name, value, 1); }
    ~Variable() { unsetenv(name_); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    const char* name_;
};

TEST(X11Content, WithoutAServerThereIsAGermanError) {
    try {
        openX11Desktop(nullptr, ":59871");
        FAIL();
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(), "Der Bildschirm „:59871“ ist nicht erreichbar.");
    }
}

TEST(X11Content, ListsMonitorsWithTheirOriginInPixels) {
    DesktopRig rig({2000, 900});
    rig.setMonitors({{"Left", 0, 0, 1200, 800}, {"Right", 1200, 100, 800, 800, true}});
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const auto content = desktop->shareableContent();
    ASSERT_EQ(content.displays.size(), 2U);
    const auto named = [&](const char* name) {
        return *std::find_if(content.displays.begin(), content.displays.end(),
                             [&](const platform::Display& one) { return one.name == name; });
    };
    EXPECT_EQ(named("Left").frame, (Rect{0, 0, 1200, 800}));
    EXPECT_EQ(named("Right").frame, (Rect{1200, 100, 800, 800}));
    EXPECT_EQ(content.mainDisplayID, named("Right").id);
    EXPECT_NE(named("Left").id, named("Right").id);
}

TEST(X11Content, PointsFollowTheScale) {
    DesktopRig rig({1600, 900});
    for (const auto& [dots, scale] : {std::pair{96, 1.0}, {120, 1.25}, {144, 1.5}, {192, 2.0}}) {
        rig.setDotsPerInch(dots);
        const auto content = openX11Desktop(nullptr, rig.displayName())->shareableContent();
        ASSERT_EQ(content.displays.size(), 1U);
        EXPECT_EQ(content.displays[0].scale, scale);
        EXPECT_EQ(content.displays[0].frame, (Rect{0, 0, 1600 / scale, 900 / scale}));
    }
}

TEST(X11Content, TheEnvironmentScalesMonitorsByName) {
    DesktopRig rig({2000, 900});
    rig.setMonitors({{"Left", 0, 0, 1200, 800}, {"Right", 1200, 100, 800, 800}});
    const Variable variable("QT_SCREEN_SCALE_FACTORS", "Left=1;Right=2");
    const RigWindow window(rig.displayName(), {.title = "rechts", .x = 1300, .y = 200, .width = 400, .height = 300});
    const auto content = openX11Desktop(nullptr, rig.displayName())->shareableContent();
    const platform::Window* found = titled(content, "rechts");
    ASSERT_NE(found, nullptr);
    const platform::Display* display = content.display(found->displayID);
    ASSERT_NE(display, nullptr);
    EXPECT_EQ(display->name, "Right");
    EXPECT_EQ(display->frame, (Rect{1200, 100, 400, 400}));
    EXPECT_EQ(found->frame, (Rect{1250, 150, 200, 150}));
}

TEST(X11Content, ListsWindowsFromFrontToBackWithTheirPrograms) {
    for (const bool hasManager : {false, true}) {
        DesktopRig rig({1280, 800, hasManager});
        const RigWindow back(rig.displayName(), {.title = "Bäckerei", .className = "Eins", .x = 50, .y = 60});
        const RigWindow middle(rig.displayName(), {.title = "mittig", .className = "Zwei", .x = 200, .y = 120});
        RigWindow front(rig.displayName(), {.title = "vorn", .className = "Eins", .x = 400, .y = 300});
        front.raise();
        const auto desktop = openX11Desktop(nullptr, rig.displayName());
        platform::ShareableContent content;
        ASSERT_TRUE(await([&] {
            content = desktop->shareableContent();
            return content.windows.size() == 3;
        }));
        EXPECT_EQ(titles(content), (std::vector<std::string>{"vorn", "mittig", "Bäckerei"}));
        const platform::Window& last = content.windows.back();
        EXPECT_EQ(last.id, back.id());
        EXPECT_EQ(last.layer, 0);
        EXPECT_EQ(last.frame,
                  (Rect{static_cast<double>(back.screenX()), static_cast<double>(back.screenY()), 320, 240}));
        ASSERT_TRUE(last.application);
        EXPECT_EQ(last.application->processId, getpid());
        EXPECT_EQ(last.application->bundleIdentifier, "Eins");
        EXPECT_EQ(content.applications.size(), 2U);
        ASSERT_TRUE(content.ownApplication);
        EXPECT_EQ(content.ownApplication->processId, getpid());
    }
}

TEST(X11Content, OtherProgramsAreNotThisOne) {
    DesktopRig rig;
    const RigProgram other({LUMI_RIG_WINDOW, rig.displayName(), "Fremd", "10", "20", "300", "200", "808080"}, "");
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    platform::ShareableContent content;
    ASSERT_TRUE(await([&] {
        content = desktop->shareableContent();
        return content.windows.size() == 1;
    }));
    ASSERT_TRUE(content.windows[0].application);
    EXPECT_EQ(content.windows[0].application->processId, other.id());
    EXPECT_FALSE(content.ownApplication);
}

TEST(X11Content, DocksAndDesktopsAreNotAtLayerZero) {
    DesktopRig rig({1280, 800, true});
    const RigWindow dock(rig.displayName(), {.title = "Leiste", .type = "DOCK"});
    const RigWindow desk(rig.displayName(), {.title = "Schreibtisch", .type = "DESKTOP"});
    const RigWindow plain(rig.displayName(), {.title = "Fenster", .type = "DIALOG"});
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    platform::ShareableContent content;
    ASSERT_TRUE(await([&] {
        content = desktop->shareableContent();
        return content.windows.size() == 3;
    }));
    EXPECT_GT(titled(content, "Leiste")->layer, 0);
    EXPECT_LT(titled(content, "Schreibtisch")->layer, 0);
    EXPECT_EQ(titled(content, "Fenster")->layer, 0);
}

TEST(X11Content, LeavesOutWindowsThatCannotBeSeen) {
    DesktopRig rig({1280, 800, true});
    const RigWindow seen(rig.displayName(), {.title = "sichtbar"});
    RigWindow icon(rig.displayName(), {.title = "Symbol"});
    const RigWindow never(rig.displayName(), {.title = "nie gezeigt", .isMapped = false});
    icon.iconify();
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    EXPECT_TRUE(await([&] { return titles(desktop->shareableContent()) == std::vector<std::string>{"sichtbar"}; }));
}

TEST(X11Content, FramesLeaveOutShadowsThatWindowsDraw) {
    DesktopRig rig;
    const RigWindow window(
        rig.displayName(),
        {.title = "Schatten", .x = 100, .y = 100, .width = 400, .height = 300, .shadow = {20, 30, 10, 40}});
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const auto content = desktop->shareableContent();
    ASSERT_NE(titled(content, "Schatten"), nullptr);
    EXPECT_EQ(titled(content, "Schatten")->frame, (Rect{120, 110, 350, 250}));
    EXPECT_EQ(desktop->windowFrame(window.id(), {}), (Rect{120, 110, 350, 250}));
}

TEST(X11Content, WindowFramesFollowTheWindow) {
    DesktopRig rig({1280, 800, true});
    RigWindow window(rig.displayName(), {.x = 100, .y = 120});
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const platform::PointSpace space{{0, 0}, 2};
    const auto expected = [&] { return Rect{window.screenX() / 2.0, window.screenY() / 2.0, 160, 120}; };
    EXPECT_EQ(desktop->windowFrame(window.id(), space), expected());
    const int before = window.screenX();
    window.moveTo(500, 300);
    ASSERT_TRUE(await([&] { return window.screenX() != before; }));
    EXPECT_EQ(desktop->windowFrame(window.id(), space), expected());
    window.close();
    EXPECT_EQ(desktop->windowFrame(window.id(), space), std::nullopt);
}

TEST(X11Content, AServerThatDiesIsAnErrorAndNotTheEnd) {
    DesktopRig rig;
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    EXPECT_EQ(desktop->shareableContent().displays.size(), 1U);
    rig.killServer();
    for (int i = 0; i < 3; ++i) {
        EXPECT_THROW(desktop->shareableContent(), RecorderError);
        EXPECT_EQ(desktop->pointerLocation({}), std::nullopt);
        EXPECT_THROW(desktop->currentCursor(std::nullopt), RecorderError);
        EXPECT_EQ(desktop->windowFrame(1, {}), std::nullopt);
        EXPECT_EQ(desktop->monitorPointer({}, [](const platform::PointerEvent&) {}), nullptr);
        EXPECT_THROW(desktop->makeCaptureStream(platform::DisplayFilter{}, {640, 480})->start(), RecorderError);
    }
}

}  // namespace
}  // namespace lumivastor::x11
