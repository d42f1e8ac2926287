// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "platform/x11/x11_desktop.h"
#include "support/await.h"
#include "support/desktop_rig/capture_setup.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_window.h"

namespace lumivastor::x11 {
namespace {

// Waits until the picture's top-left part shows the pattern and the rest is black.
bool showsPattern(SampleCollector& samples, int seed, int width, int height) {
    return samples.waitForPicture([=](const auto& picture) {
        return differingPixels(picture, 0, 0, picture.width(), picture.height(),
                               [=](int x, int y) { return x < width && y < height ? patternAt(seed, x, y) : 0; }) == 0;
    });
}

class X11WindowCapture : public testing::TestWithParam<bool> {
  protected:
    DesktopRig rig_{{1280, 800, GetParam()}};
    std::unique_ptr<platform::Desktop> desktop_ = openX11Desktop(nullptr, rig_.displayName());
};

INSTANTIATE_TEST_SUITE_P(managers, X11WindowCapture, testing::Bool(),
                         [](const auto& one) { return one.param ? "withManager" : "withoutManager"; });

TEST_P(X11WindowCapture, ShowsTheWindowToThePixel) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 100, .width = 320, .height = 240});
    window.drawPattern(1);
    RunningCapture capture(*desktop_, windowFilter(*desktop_, window.id()));
    EXPECT_TRUE(showsPattern(capture.samples(), 1, 320, 240));
    window.drawPattern(2);
    EXPECT_TRUE(showsPattern(capture.samples(), 2, 320, 240));
    window.fill(0x123456, 10, 20, 30, 40);
    EXPECT_TRUE(capture.samples().waitForPicture([](const auto& picture) {
        return differingPixels(picture, 0, 0, 320, 240, [](int x, int y) {
                   return x >= 10 && x < 40 && y >= 20 && y < 60 ? 0x123456 : patternAt(2, x, y);
               }) == 0;
    }));
}

TEST_P(X11WindowCapture, WhatIsPaintedAgainWithoutAChangeIsIdle) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 100, .width = 320, .height = 240});
    window.drawPattern(1);
    RunningCapture capture(*desktop_, windowFilter(*desktop_, window.id()));
    SampleCollector& samples = capture.samples();
    ASSERT_TRUE(showsPattern(samples, 1, 320, 240));
    const auto before = samples.picture();
    for (int i = 0; i < 20; ++i) window.drawPattern(1);
    const int idle = samples.count(platform::FrameStatus::idle);
    ASSERT_TRUE(await([&] { return samples.count(platform::FrameStatus::idle) > idle + 2; }));
    EXPECT_EQ(samples.picture(), before);
    window.fill(patternAt(1, 319, 239) ^ 1, 319, 239, 1, 1);
    EXPECT_TRUE(samples.waitForColor(319, 239, patternAt(1, 319, 239) ^ 1));
}

TEST_P(X11WindowCapture, ShowsWhatIsCovered) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 100, .width = 320, .height = 240});
    window.drawPattern(1);
    RunningCapture capture(*desktop_, windowFilter(*desktop_, window.id()));
    ASSERT_TRUE(showsPattern(capture.samples(), 1, 320, 240));
    RigWindow cover(rig_.displayName(), {.x = 50, .y = 50, .width = 600, .height = 500});
    cover.raise();
    window.drawPattern(2);
    EXPECT_TRUE(showsPattern(capture.samples(), 2, 320, 240));
}

TEST_P(X11WindowCapture, FollowsAWindowThatMovesAlsoOffTheScreen) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 100, .width = 320, .height = 240});
    window.drawPattern(1);
    RunningCapture capture(*desktop_, windowFilter(*desktop_, window.id()));
    ASSERT_TRUE(showsPattern(capture.samples(), 1, 320, 240));
    window.moveTo(600, 300);
    window.drawPattern(2);
    EXPECT_TRUE(showsPattern(capture.samples(), 2, 320, 240));
    window.moveTo(1150, 700);
    window.drawPattern(3);
    EXPECT_TRUE(showsPattern(capture.samples(), 3, 320, 240));
}

TEST_P(X11WindowCapture, KeepsItsSizeWhenTheWindowChangesIts) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 100, .width = 320, .height = 240});
    window.drawPattern(1);
    RunningCapture capture(*desktop_, windowFilter(*desktop_, window.id()));
    ASSERT_TRUE(showsPattern(capture.samples(), 1, 320, 240));
    window.resize(500, 400);
    window.drawPattern(2);
    EXPECT_TRUE(showsPattern(capture.samples(), 2, 500, 400));
    window.resize(200, 150);
    window.drawPattern(3);
    EXPECT_TRUE(showsPattern(capture.samples(), 3, 200, 150));
    window.resize(320, 240);
    window.drawPattern(4);
    EXPECT_TRUE(showsPattern(capture.samples(), 4, 320, 240));
    EXPECT_EQ(capture.samples().picture()->width(), 320);
    EXPECT_EQ(capture.samples().picture()->height(), 240);
}

TEST_P(X11WindowCapture, IsSuspendedWhileTheWindowIsHidden) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 100, .width = 320, .height = 240});
    window.drawPattern(1);
    RunningCapture capture(*desktop_, windowFilter(*desktop_, window.id()));
    ASSERT_TRUE(showsPattern(capture.samples(), 1, 320, 240));
    if (GetParam()) {
        window.iconify();
    } else {
        window.unmap();
    }
    ASSERT_TRUE(await([&] { return capture.samples().count(platform::FrameStatus::suspended) > 3; }));
    EXPECT_TRUE(showsPattern(capture.samples(), 1, 320, 240));
    // The last picture holds, and keeps coming.
    const int before = capture.samples().count(platform::FrameStatus::complete);
    EXPECT_TRUE(await([&] { return capture.samples().count(platform::FrameStatus::complete) > before; }));
    window.map();
    window.drawPattern(2);
    EXPECT_TRUE(showsPattern(capture.samples(), 2, 320, 240));
    EXPECT_TRUE(capture.samples().stops().empty());
}

TEST_P(X11WindowCapture, EndsWhenTheWindowIsClosed) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 100, .width = 320, .height = 240});
    window.drawPattern(1);
    const platform::WindowFilter filter = windowFilter(*desktop_, window.id());
    RunningCapture capture(*desktop_, filter);
    ASSERT_TRUE(showsPattern(capture.samples(), 1, 320, 240));
    window.close();
    ASSERT_TRUE(await([&] { return !capture.samples().stops().empty(); }));
    capture.stop();
    EXPECT_EQ(capture.samples().stops(), std::vector<std::string>{"Das aufgenommene Fenster wurde geschlossen."});
    const auto seen = capture.samples().seen();
    EXPECT_EQ(seen[seen.size() - 2].status, platform::FrameStatus::complete);
    EXPECT_EQ(seen.back().status, platform::FrameStatus::stopped);
    EXPECT_TRUE(showsPattern(capture.samples(), 1, 320, 240));
    EXPECT_THROW(desktop_->makeCaptureStream(filter, recordingOf(filter))->start(), RecorderError);
}

TEST_P(X11WindowCapture, LeavesOutTheShadowThatAWindowDraws) {
    RigWindow window(rig_.displayName(),
                     {.x = 100, .y = 100, .width = 320, .height = 240, .hasAlpha = true, .shadow = {20, 30, 10, 40}});
    window.drawPattern(1);
    RunningCapture capture(*desktop_, windowFilter(*desktop_, window.id()));
    EXPECT_TRUE(capture.samples().waitForPicture([](const auto& picture) {
        return picture.width() == 270 && picture.height() == 190 &&
               differingPixels(picture, 0, 0, 270, 190, [](int x, int y) { return patternAt(1, x + 20, y + 10); }) == 0;
    }));
}

TEST_P(X11WindowCapture, LeavesOutTheBorder) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 100, .width = 320, .height = 240, .border = 7});
    window.drawPattern(1);
    RunningCapture capture(*desktop_, windowFilter(*desktop_, window.id()));
    EXPECT_TRUE(showsPattern(capture.samples(), 1, 320, 240));
}

TEST_P(X11WindowCapture, IsExactAtEveryScale) {
    RigWindow window(rig_.displayName(), {.x = 100, .y = 100, .width = 321, .height = 243});
    window.drawPattern(1);
    for (const int dots : {96, 120, 144, 192}) {
        rig_.setDotsPerInch(dots);
        RunningCapture capture(*desktop_, windowFilter(*desktop_, window.id()));
        EXPECT_TRUE(showsPattern(capture.samples(), 1, 321, 243)) << dots;
        EXPECT_EQ(capture.samples().picture()->width(), 320);
        EXPECT_EQ(capture.samples().picture()->height(), 242);
    }
}

TEST(X11WindowCaptureServer, DeathEndsTheStream) {
    DesktopRig rig;
    const RigWindow window(rig.displayName());
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    RunningCapture capture(*desktop, windowFilter(*desktop, window.id()));
    ASSERT_TRUE(capture.samples().waitForColor(0, 0, 0x336699));
    rig.killServer();
    ASSERT_TRUE(await([&] { return !capture.samples().stops().empty(); }));
    EXPECT_EQ(capture.samples().stops(), std::vector<std::string>{"Die Verbindung zum Bildschirm ist abgerissen."});
}

}  // namespace
}  // namespace lumivastor::x11
