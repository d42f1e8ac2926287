// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/window_frame_tracker.h"

#include <gtest/gtest.h>

#include "support/recorder_rig.h"

namespace lumivastor::capture {
namespace {

class WindowFrameTrackers : public RecorderRig {
  protected:
    WindowFrameTracker tracker_{services_, 77, {{1000, 100}, 2}, nullptr};
};

TEST_F(WindowFrameTrackers, AWindowThatNeverMovesYieldsOneSample) {
    desktop_.setWindowFrame(77, Rect{1, 2, 3, 4});
    tracker_.start();
    loop_.advance(10);
    tracker_.stop();
    EXPECT_EQ(tracker_.frames(), (WindowTrack{{1000, {1, 2, 3, 4}}}));
}

TEST_F(WindowFrameTrackers, EachChangeIsOneSample) {
    desktop_.setWindowFrame(77, Rect{1, 2, 3, 4});
    tracker_.start();
    loop_.advance(1);
    desktop_.setWindowFrame(77, Rect{5, 2, 3, 4});
    loop_.advance(1);
    desktop_.setWindowFrame(77, Rect{1, 2, 3, 4});
    loop_.advance(1);
    const WindowTrack track = tracker_.frames();
    ASSERT_EQ(track.size(), 3u);
    EXPECT_NEAR(track[1].t, 1001 + WindowFrameTracker::kInterval, 1e-6);
    EXPECT_EQ(track[1].rect.x, 5);
    EXPECT_EQ(track[2].rect.x, 1);
}

TEST_F(WindowFrameTrackers, AClosedWindowGivesNoMoreAndEarlierSamplesStay) {
    desktop_.setWindowFrame(77, Rect{1, 2, 3, 4});
    tracker_.start();
    desktop_.setWindowFrame(77, std::nullopt);
    loop_.advance(1);
    EXPECT_EQ(tracker_.frames().size(), 1u);
}

TEST_F(WindowFrameTrackers, AWindowThatIsNotThereGivesNothing) {
    tracker_.start();
    loop_.advance(1);
    EXPECT_TRUE(tracker_.frames().empty());
}

TEST_F(WindowFrameTrackers, AfterTheStopNothingIsSampled) {
    desktop_.setWindowFrame(77, Rect{1, 2, 3, 4});
    tracker_.start();
    tracker_.stop();
    desktop_.setWindowFrame(77, Rect{5, 2, 3, 4});
    loop_.advance(1);
    EXPECT_EQ(tracker_.frames().size(), 1u);
}

}  // namespace
}  // namespace lumivastor::capture
