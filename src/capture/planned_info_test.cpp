// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/planned_info.h"

#include <gtest/gtest.h>

#include "support/recorder_rig.h"

namespace lumivastor::capture {
namespace {

class PlannedInfos : public RecorderRig {
  protected:
    static CaptureOptions options(CaptureSource source) {
        CaptureOptions options;
        options.source = std::move(source);
        return options;
    }
};

TEST_F(PlannedInfos, TheDocumentHoldsTheDisplayOrTheWindowsFrame) {
    CaptureOptions wanted = options(DisplaySource{otherDisplay()});
    wanted.microphone = true;
    const model::CaptureInfo display = plannedInfo(planCapture(wanted, content()), wanted);
    EXPECT_EQ(display.displayID, 9u);
    EXPECT_EQ(display.displayX, 1000);
    EXPECT_EQ(display.displayHeight, 360);
    EXPECT_EQ(display.contentWidth, 640);
    EXPECT_EQ(display.pixelWidth, 1280);
    EXPECT_EQ(display.fps, 60);
    EXPECT_FALSE(display.systemAudio);
    EXPECT_TRUE(display.microphone);
    EXPECT_EQ(display.sourceKind, "display");
    EXPECT_FALSE(display.windowTitle.has_value());

    const CaptureOptions windowOptions = options(WindowSource{RecorderRig::window()});
    CapturePlan plan = planCapture(windowOptions, content());
    const model::CaptureInfo window = plannedInfo(plan, windowOptions);
    EXPECT_EQ(window.displayID, 0u);
    EXPECT_EQ(window.displayX, 1100);
    EXPECT_EQ(window.displayWidth, 160);
    EXPECT_EQ(window.sourceKind, "window");
    EXPECT_EQ(window.windowTitle, "Terminal – Sitzung 1");
    plan.initialWindowFrame.reset();
    EXPECT_EQ(plannedInfo(plan, windowOptions).displayWidth, 0);
}

TEST(DeviceDocuments, SayOnlyWhatADeviceKnows) {
    const model::CaptureInfo info = plannedDeviceInfo("Telefon", {1178, 2556}, true, false);
    EXPECT_EQ(info.displayID, 0u);
    EXPECT_EQ(info.displayWidth, 1178);
    EXPECT_EQ(info.contentHeight, 2556);
    EXPECT_EQ(info.pointPixelScale, 1);
    EXPECT_EQ(info.fps, 60);
    EXPECT_TRUE(info.systemAudio);
    EXPECT_FALSE(info.microphone);
    EXPECT_EQ(info.sourceKind, "device");
    EXPECT_EQ(info.windowTitle, "Telefon");
}

}  // namespace
}  // namespace lumivastor::capture
