// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/capture_plan.h"

#include <gtest/gtest.h>

#include "base/recorder_error.h"
#include "media/writing/asset_writer.h"
#include "support/recorder_rig.h"

namespace lumivastor::capture {
namespace {

class CapturePlans : public RecorderRig {
  protected:
    static CaptureOptions options(CaptureSource source) {
        CaptureOptions options;
        options.source = std::move(source);
        return options;
    }
    static CapturePlan plan(CaptureSource source) { return planCapture(options(std::move(source)), content()); }
};

TEST_F(CapturePlans, ADisplayIsCapturedWholeInItsPixels) {
    CaptureOptions wanted = options(DisplaySource{otherDisplay()});
    wanted.excludedApplications = {platform::RunningApplication{5, "lumivastor", "LumiVastor"}};
    wanted.fps = 30;
    wanted.systemAudio = true;
    const CapturePlan plan = planCapture(wanted, content());
    EXPECT_EQ(plan.sourceKind, "display");
    EXPECT_EQ(plan.displayID, 9u);
    EXPECT_EQ(plan.geometry.displayBounds, (Rect{1000, 100, 640, 360}));
    EXPECT_EQ(plan.geometry.contentRect, (Rect{0, 0, 640, 360}));
    EXPECT_EQ(plan.geometry.pointPixelScale, 2);
    EXPECT_EQ(plan.geometry.pixelSize, (Size{1280, 720}));
    EXPECT_EQ(plan.space, otherDisplay().pointSpace());
    EXPECT_EQ(std::get<platform::DisplayFilter>(plan.filter).excludedApplications, wanted.excludedApplications);
    const platform::StreamConfiguration& configuration = plan.configuration;
    EXPECT_EQ(configuration.width, 1280);
    EXPECT_EQ(configuration.height, 720);
    EXPECT_EQ(configuration.minimumFrameInterval, 1.0 / 30);
    EXPECT_EQ(configuration.queueDepth, 6);
    EXPECT_LT(media::VideoWriterInput::kMaximumLivePictures, configuration.queueDepth)
        << "a slow encoder's pictures are counted";
    EXPECT_FALSE(configuration.sourceRect.has_value());
    EXPECT_TRUE(configuration.capturesAudio);
    EXPECT_FALSE(configuration.captureMicrophone);
    EXPECT_EQ(configuration.sampleRate, 48000);
    EXPECT_EQ(configuration.channelCount, 2);
}

TEST_F(CapturePlans, ARegionIsAPartOfItsDisplay) {
    const CapturePlan plan = CapturePlans::plan(RegionSource{otherDisplay(), {10.5, 20, 100.4, 51}});
    EXPECT_EQ(plan.sourceKind, "region");
    EXPECT_EQ(plan.displayID, 9u);
    EXPECT_EQ(plan.geometry.displayBounds, (Rect{1000, 100, 640, 360}));
    EXPECT_EQ(plan.geometry.contentRect, (Rect{10.5, 20, 100.4, 51}));
    EXPECT_EQ(plan.configuration.sourceRect, (Rect{10.5, 20, 100.4, 51}));
    EXPECT_EQ(plan.width(), 200);
    EXPECT_EQ(plan.height(), 102);
}

TEST_F(CapturePlans, AWindowIsCapturedWithTheScaleOfTheDisplayThatShowsIt) {
    const CapturePlan plan = CapturePlans::plan(WindowSource{window()});
    EXPECT_EQ(plan.sourceKind, "window");
    EXPECT_EQ(plan.displayID, 0u);
    EXPECT_EQ(plan.windowID, 77u);
    EXPECT_EQ(plan.initialWindowFrame, (Rect{1100, 150, 160, 120}));
    EXPECT_EQ(plan.windowTitle, "Terminal – Sitzung 1");
    EXPECT_EQ(plan.geometry.displayBounds, (Rect{0, 0, 320, 240}));  // the main display's
    EXPECT_EQ(plan.geometry.contentRect, (Rect{0, 0, 160, 120}));
    EXPECT_EQ(plan.geometry.pointPixelScale, 2);
    EXPECT_EQ(plan.geometry.pixelSize, (Size{320, 240}));
    EXPECT_EQ(plan.space, otherDisplay().pointSpace());
    EXPECT_FALSE(plan.configuration.sourceRect.has_value());
}

TEST_F(CapturePlans, AWindowThatWasMovedSinceItWasChosenIsTakenAsItIsNow) {
    platform::Window chosen = window();
    chosen.frame = {0, 0, 900, 900};
    chosen.displayID = 7;
    EXPECT_EQ(CapturePlans::plan(WindowSource{chosen}).initialWindowFrame, window().frame);
    // One that is gone stays as it was: the stream says what is wrong with it.
    chosen.id = 1;
    EXPECT_EQ(CapturePlans::plan(WindowSource{chosen}).initialWindowFrame, chosen.frame);
}

TEST_F(CapturePlans, ADisplayThatMovedSinceItWasChosenIsTakenAsItIsNow) {
    platform::Display chosen = otherDisplay();
    chosen.frame.x = 320;
    for (const CapturePlan& plan :
         {CapturePlans::plan(DisplaySource{chosen}), CapturePlans::plan(RegionSource{chosen, {10, 20, 100, 50}})}) {
        EXPECT_EQ(plan.space, otherDisplay().pointSpace());
        EXPECT_EQ(plan.geometry.displayBounds, otherDisplay().frame);
        EXPECT_EQ(std::get<platform::DisplayFilter>(plan.filter).display, otherDisplay());
    }
}

TEST_F(CapturePlans, WithoutAnyDisplayThereIsNoWindowToRecord) {
    EXPECT_THROW(planCapture(options(WindowSource{window()}), {}), RecorderError);
}

TEST_F(CapturePlans, ARegionWithoutPixelsIsRefused) {
    EXPECT_THROW(CapturePlans::plan(RegionSource{mainDisplay(), {10, 10, 1.4, 100}}), RecorderError);
    EXPECT_THROW(CapturePlans::plan(RegionSource{mainDisplay(), {10, 10, 100, -3}}), RecorderError);
}

TEST_F(CapturePlans, WhereOnlyWindowsCanBeRecordedTheRestIsRefused) {
    platform::ShareableContent desktop = content();
    desktop.displayRefusal = "Nur Fenster.";
    EXPECT_THROW(planCapture(options(DisplaySource{otherDisplay()}), desktop), RecorderError);
    EXPECT_THROW(planCapture(options(RegionSource{otherDisplay(), {0, 0, 100, 100}}), desktop), RecorderError);
    EXPECT_EQ(planCapture(options(WindowSource{window()}), desktop).windowID, 77u);
}

TEST(EvenPixelSize, IsRoundedAndThenMadeEven) {
    EXPECT_EQ(evenPixelSize({100.4, 100.5}, 1), (PixelSize{100, 100}));
    EXPECT_EQ(evenPixelSize({101, 99.4}, 1), (PixelSize{100, 98}));
    EXPECT_EQ(evenPixelSize({683, 384}, 1.25), (PixelSize{854, 480}));
    EXPECT_EQ(evenPixelSize({0, -4}, 2), (PixelSize{0, 0}));
    for (int points = 1; points < 500; ++points) {
        for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
            const PixelSize size = evenPixelSize({static_cast<double>(points), 1}, scale);
            EXPECT_EQ(size.width % 2, 0);
            EXPECT_LE(std::abs(size.width - points * scale), 1.5);
        }
    }
}

TEST(WindowTitleForInfo, JoinsWhatIsKnown) {
    platform::Window window;
    EXPECT_EQ(windowTitleForInfo(window), std::nullopt);
    window.title = "Bericht";
    EXPECT_EQ(windowTitleForInfo(window), "Bericht");
    window.application = platform::RunningApplication{1, "writer", "Schreiber"};
    EXPECT_EQ(windowTitleForInfo(window), "Schreiber – Bericht");
    window.title = "";
    EXPECT_EQ(windowTitleForInfo(window), "Schreiber");
}

}  // namespace
}  // namespace lumivastor::capture
