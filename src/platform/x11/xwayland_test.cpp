// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/xwayland.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "platform/x11/x11_desktop.h"
#include "support/desktop_rig/capture_setup.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_window.h"
#include "support/desktop_rig/xwayland_rig.h"

namespace lumivastor::x11 {
namespace {

using Names = std::vector<std::string>;

TEST(Xwayland, IsKnownByItsOutputsOrItsExtension) {
    const Names usual = {"BIG-REQUESTS", "Composite", "DAMAGE", "RANDR"};
    EXPECT_TRUE(isXwayland(Names{"XWAYLAND0"}, usual));
    EXPECT_TRUE(isXwayland(Names{"DP-1", "XWAYLAND12"}, usual));
    EXPECT_TRUE(isXwayland(Names{"DP-1"}, Names{"DAMAGE", "XWAYLAND"}));
    EXPECT_TRUE(isXwayland(Names{}, Names{"XWAYLAND"}));
    EXPECT_FALSE(isXwayland(Names{"DP-1", "HDMI-1"}, usual));
    EXPECT_FALSE(isXwayland(Names{"screen"}, usual));
    EXPECT_FALSE(isXwayland(Names{"xwayland0", "my XWAYLAND"}, Names{"XWAYLAND-OTHER"}));
    EXPECT_FALSE(isXwayland(Names{}, Names{}));
}

TEST(Xwayland, AServerOfItsOwnIsNone) {
    DesktopRig rig;
    EXPECT_EQ(openX11Desktop(nullptr, rig.displayName())->shareableContent().displayRefusal, std::nullopt);
}

TEST(Xwayland, SaysThatItsScreensCannotBeRecorded) {
    const XwaylandRig rig;
    const auto content = openX11Desktop(nullptr, rig.displayName())->shareableContent();
    ASSERT_TRUE(content.displayRefusal.has_value());
    EXPECT_NE(content.displayRefusal->find("Wayland"), std::string::npos);
    EXPECT_NE(content.displayRefusal->find("Xorg"), std::string::npos);
    EXPECT_EQ(content.displays.size(), 1u);
}

TEST(Xwayland, ItsWindowsAreRecordedToThePixel) {
    const XwaylandRig rig;
    RigWindow window(rig.displayName(), {.x = 50, .y = 40, .width = 321, .height = 205});
    window.drawPattern(4);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    RunningCapture capture(*desktop, windowFilter(*desktop, window.id()));
    EXPECT_TRUE(capture.samples().waitForPicture([](const auto& picture) {
        return picture.width() == 320 && picture.height() == 204 &&
               differingPixels(picture, 0, 0, 320, 204, [](int x, int y) { return patternAt(4, x, y); }) == 0;
    }));
}

}  // namespace
}  // namespace lumivastor::x11
