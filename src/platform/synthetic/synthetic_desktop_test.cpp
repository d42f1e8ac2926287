// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/synthetic/synthetic_desktop.h"

#include <gtest/gtest.h>

namespace lumivastor::synthetic {
namespace {

TEST(SyntheticDesktop, DeliversSamplesOnTheOutputsQueueWhileTheStreamRuns) {
    SyntheticDesktop desktop;
    SerialQueue queue("test");
    std::vector<platform::FrameStatus> seen;
    const auto stream = desktop.makeCaptureStream(platform::DisplayFilter{}, {});
    stream->addScreenOutput(queue, [&](const platform::ScreenSample& sample) {
        EXPECT_TRUE(queue.isCurrent());
        seen.push_back(sample.status);
    });
    desktop.atStart([&] { desktop.emitScreen({platform::FrameStatus::started, 1, nullptr}); });
    desktop.atStop([&] { desktop.emitScreen({platform::FrameStatus::complete, 3, nullptr}); });
    desktop.emitScreen({platform::FrameStatus::idle, 0, nullptr});
    stream->start();
    EXPECT_TRUE(desktop.isStreamRunning());
    desktop.emitScreen({platform::FrameStatus::idle, 2, nullptr});
    stream->stop();
    desktop.emitScreen({platform::FrameStatus::idle, 4, nullptr});
    EXPECT_EQ(seen, (std::vector{platform::FrameStatus::started, platform::FrameStatus::idle,
                                 platform::FrameStatus::complete}));
    EXPECT_FALSE(desktop.isStreamRunning());
}

TEST(SyntheticDesktop, FailsAsItIsTold) {
    SyntheticDesktop desktop;
    const auto stream = desktop.makeCaptureStream(platform::DisplayFilter{}, {});
    desktop.failStart(RecorderError("kein Bild"));
    EXPECT_THROW(stream->start(), RecorderError);
    desktop.failStart(std::nullopt);
    stream->start();
    std::string message;
    stream->onStop([&](const RecorderError& error) { message = error.message(); });
    desktop.emitStop(RecorderError("Fenster zu"));
    EXPECT_EQ(message, "Fenster zu");
    message.clear();
    desktop.emitStop(RecorderError("noch einmal"));
    EXPECT_EQ(message, "");
    desktop.failContent(RecorderError("keine Liste"));
    EXPECT_THROW(desktop.shareableContent(), RecorderError);
}

TEST(SyntheticDesktop, TellsMonitorsUntilTheyAreDestroyed) {
    SyntheticDesktop desktop;
    int told = 0;
    auto monitor = desktop.monitorPointer({{10, 20}, 2}, [&](const platform::PointerEvent&) { ++told; });
    desktop.emitPointer({});
    EXPECT_EQ(told, 1);
    EXPECT_EQ(desktop.monitorSpace(), (platform::PointSpace{{10, 20}, 2}));
    monitor.reset();
    desktop.emitPointer({});
    EXPECT_EQ(told, 1);
    desktop.setPointerCanBeWatched(false);
    EXPECT_EQ(desktop.monitorPointer({}, [](const platform::PointerEvent&) {}), nullptr);
    EXPECT_EQ(desktop.calls(), (std::vector<std::string>{"monitorPointer", "endMonitor", "monitorPointer"}));
}

TEST(SyntheticDesktop, HandsOutTheCursorsImageOnlyWhenItIsNew) {
    SyntheticDesktop desktop;
    EXPECT_FALSE(desktop.currentCursor(std::nullopt));
    platform::SystemCursor arrow{7, imaging::BgraPremultipliedBuffer(3, 2), 1, 1};
    arrow.image.pixel(2, 1)[3] = 255;
    desktop.setCursor(std::move(arrow));
    const auto first = desktop.currentCursor(std::nullopt);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->image.pixel(2, 1)[3], 255);
    const auto again = desktop.currentCursor(first->serial);
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->image.isEmpty());
    EXPECT_EQ(again->hotspotX, 1);
}

}  // namespace
}  // namespace lumivastor::synthetic
