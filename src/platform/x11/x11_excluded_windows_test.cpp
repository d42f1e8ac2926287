// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <ostream>

#include "platform/x11/x11_desktop.h"
#include "support/await.h"
#include "support/desktop_rig/capture_setup.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_window.h"

namespace lumivastor::x11 {
namespace {

constexpr std::uint32_t kGround = 0x204060;
constexpr std::uint32_t kPanel = 0xff00ff;

struct Case {
    const char* name;
    bool hasManager;
    bool leavesPixmap;
};

std::ostream& operator<<(std::ostream& out, const Case& one) {
    return out << one.name;
}

class X11ExcludedWindows : public testing::TestWithParam<Case> {
  protected:
    X11ExcludedWindows() { rig_.paintRoot(kGround, GetParam().leavesPixmap); }

    // The display without the windows of the class "Panel".
    platform::DisplayFilter filter() { return {mainDisplay(*desktop_), {{0, "Panel", std::nullopt}}}; }
    RigWindow::Options panel() const {
        return {.title = "Leiste",
                .className = "Panel",
                .x = 150,
                .y = 150,
                .width = 200,
                .height = 150,
                .color = kPanel,
                .isOverride = true};
    }

    DesktopRig rig_{{1000, 700, GetParam().hasManager}};
    std::unique_ptr<platform::Desktop> desktop_ = openX11Desktop(nullptr, rig_.displayName());
};

INSTANTIATE_TEST_SUITE_P(desktops, X11ExcludedWindows,
                         testing::Values(Case{"withoutManager", false, false}, Case{"withManager", true, false},
                                         Case{"withBackgroundPixmap", false, true},
                                         Case{"withManagerAndPixmap", true, true}),
                         [](const auto& one) { return one.param.name; });

// Whether the window's pattern is all there, and the ground is beyond it. Where a manager's frame may be is not looked
// at.
bool showsThrough(SampleCollector& samples, const RigWindow& window, int width, int height, int seed) {
    const int left = window.screenX();
    const int top = window.screenY();
    return samples.waitForPicture([=](const auto& picture) {
        return differingPixels(picture, left, top, width, height,
                               [=](int x, int y) { return patternAt(seed, x, y); }) == 0 &&
               differingPixels(picture, 0, 0, picture.width(), 60, [](int, int) { return kGround; }) == 0 &&
               differingPixels(picture, 0, 500, picture.width(), 200, [](int, int) { return kGround; }) == 0;
    });
}

TEST_P(X11ExcludedWindows, WhatIsPaintedAgainBeneathAndInThemIsIdle) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 120, .width = 300, .height = 200});
    window.drawPattern(1);
    RigWindow cover(rig_.displayName(), panel());
    RunningCapture capture(*desktop_, filter());
    SampleCollector& samples = capture.samples();
    ASSERT_TRUE(showsThrough(samples, window, 300, 200, 1));
    const auto before = samples.picture();
    for (int i = 0; i < 20; ++i) {
        window.drawPattern(1);
        cover.fill(static_cast<std::uint32_t>(i));  // changes, and is not to be seen
    }
    const int idle = samples.count(platform::FrameStatus::idle);
    ASSERT_TRUE(await([&] { return samples.count(platform::FrameStatus::idle) > idle + 2; }));
    EXPECT_EQ(samples.picture(), before);
    // Beneath the panel.
    const int x = window.screenX() + 100;
    const int y = window.screenY() + 80;
    window.fill(patternAt(1, 100, 80) ^ 1, 100, 80, 1, 1);
    EXPECT_TRUE(samples.waitForColor(x, y, patternAt(1, 100, 80) ^ 1));
}

TEST_P(X11ExcludedWindows, AreNotInThePicture) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 120, .width = 300, .height = 200});
    window.drawPattern(1);
    RigWindow cover(rig_.displayName(), panel());
    RunningCapture capture(*desktop_, filter());
    ASSERT_TRUE(showsThrough(capture.samples(), window, 300, 200, 1));
    // Painted beneath the panel, where the screen itself does not change.
    window.drawPattern(2);
    EXPECT_TRUE(showsThrough(capture.samples(), window, 300, 200, 2));
    cover.fill(0x00ffff);
    window.drawPattern(3);
    EXPECT_TRUE(showsThrough(capture.samples(), window, 300, 200, 3));
    cover.moveTo(300, 250);
    EXPECT_TRUE(showsThrough(capture.samples(), window, 300, 200, 3));
    cover.moveTo(50, 450);  // over the bare ground
    EXPECT_TRUE(showsThrough(capture.samples(), window, 300, 200, 3));
    cover.unmap();
    window.drawPattern(4);
    EXPECT_TRUE(showsThrough(capture.samples(), window, 300, 200, 4));
}

TEST_P(X11ExcludedWindows, NeverFlashWhenTheyAppear) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 120, .width = 300, .height = 200});
    window.drawPattern(1);
    const platform::DisplayFilter display = filter();
    std::atomic<int> flashes = 0;
    std::atomic<int> pictures = 0;
    SerialQueue queue("test");
    const auto stream = desktop_->makeCaptureStream(display, recordingOf(display));
    stream->addScreenOutput(queue, [&](const platform::ScreenSample& sample) {
        if (!sample.image) return;
        ++pictures;
        const std::uint8_t* pixel = sample.image->pixel(250, 225);
        if (pixel[0] == 0xff && pixel[1] == 0 && pixel[2] == 0xff) ++flashes;
    });
    stream->start();
    ASSERT_TRUE(await([&] { return pictures > 0; }));
    RigWindow::Options options = panel();
    options.isMapped = false;
    for (const bool isOverride : {true, false}) {
        options.isOverride = isOverride;
        RigWindow cover(rig_.displayName(), options);
        for (int round = 0; round < 15; ++round) {
            cover.map();
            const int before = pictures;
            window.fill(static_cast<std::uint32_t>(round), 0, 0, 5, 5);
            ASSERT_TRUE(await([&] { return pictures > before; }));
            cover.unmap();
        }
    }
    stream->stop();
    queue.drain();
    EXPECT_EQ(flashes, 0);
}

TEST_P(X11ExcludedWindows, StayOutWithTheirManagersFrames) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 120, .width = 300, .height = 200});
    window.drawPattern(1);
    RigWindow::Options options = panel();
    options.isOverride = false;
    options.y = 420;
    options.height = 200;
    const RigWindow managed(rig_.displayName(), options);
    RunningCapture capture(*desktop_, filter());
    EXPECT_TRUE(showsThrough(capture.samples(), window, 300, 200, 1));
}

TEST_P(X11ExcludedWindows, WhatLiesAboveThemStays) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 120, .width = 300, .height = 200});
    window.drawPattern(1);
    const RigWindow cover(rig_.displayName(), panel());
    RigWindow above(rig_.displayName(),
                    {.className = "Other", .x = 200, .y = 200, .width = 60, .height = 40, .isOverride = true});
    above.drawPattern(9);
    RunningCapture capture(*desktop_, filter());
    const int left = window.screenX();
    const int top = window.screenY();
    EXPECT_TRUE(capture.samples().waitForPicture([=](const auto& picture) {
        return differingPixels(picture, left, top, 300, 200, [=](int x, int y) {
                   const int aboveX = x + left - 200;
                   const int aboveY = y + top - 200;
                   const bool isAbove = aboveX >= 0 && aboveX < 60 && aboveY >= 0 && aboveY < 40;
                   return isAbove ? patternAt(9, aboveX, aboveY) : patternAt(1, x, y);
               }) == 0;
    }));
}

TEST_P(X11ExcludedWindows, WindowsBeneathMayHaveAlphaAndBorders) {
    RigWindow window(rig_.displayName(), {
                                             .x = 100,
                                             .y = 120,
                                             .width = 300,
                                             .height = 200,
                                             .border = 5,
                                             .hasAlpha = true,
                                         });
    window.drawPattern(1);
    const RigWindow cover(rig_.displayName(), panel());
    RunningCapture capture(*desktop_, filter());
    EXPECT_TRUE(showsThrough(capture.samples(), window, 300, 200, 1));
}

TEST(X11ExcludedPrograms, AreToldByTheirProcess) {
    DesktopRig rig({1000, 700});
    rig.paintRoot(kGround);
    RigWindow own(rig.displayName(),
                  {.className = "Eigen", .x = 150, .y = 150, .width = 200, .height = 150, .color = kPanel});
    const RigProgram other({LUMI_RIG_WINDOW, rig.displayName(), "Fremd", "100", "100", "300", "200", "00ff00"}, "");
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    platform::ShareableContent content;
    ASSERT_TRUE(await([&] {
        content = desktop->shareableContent();
        return content.windows.size() == 2;
    }));
    ASSERT_TRUE(content.ownApplication);
    own.raise();
    RunningCapture capture(*desktop,
                           platform::DisplayFilter{*content.display(content.mainDisplayID), {*content.ownApplication}});
    EXPECT_TRUE(capture.samples().waitForPicture([](const auto& picture) {
        return differingPixels(picture, 0, 0, picture.width(), picture.height(), [](int x, int y) {
                   return x >= 100 && x < 400 && y >= 100 && y < 300 ? 0x00ff00U : kGround;
               }) == 0;
    }));
}

}  // namespace
}  // namespace lumivastor::x11
