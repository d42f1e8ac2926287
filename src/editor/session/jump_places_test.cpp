// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/jump_places.h"

#include <gtest/gtest.h>

#include <vector>

#include "editor/session/frame_time.h"
#include "support/pointer_events.h"

namespace lumivastor::editor {
namespace {

constexpr std::int64_t kFps = 30;

edit::EditState someState() {
    edit::EditState state;
    state.trim = {1, 9};
    state.settings.cuts = {{4, 5}, {4.5, 6}};
    state.zoomSpecs = {{2, 3.5, 2, {{2.5, 0.5, 0.5}}}};
    state.clicks = {press(2.517, 10, 10), press(4.501, 10, 10)};
    return state;
}

double frameTime(double t) {
    return snappedToFrame(t, kFps);
}

TEST(JumpPlaces, GoesThroughAllOfThemForwardAndBack) {
    const edit::EditState state = someState();
    const std::vector<double> expected = {1, 2, frameTime(2.517), 3.5, 4, 4.5, 5, 6, 9};
    std::vector<double> seen;
    for (auto at = nextPlace(state, 0, kFps); at; at = nextPlace(state, *at, kFps)) seen.push_back(*at);
    ASSERT_EQ(seen.size(), expected.size());
    for (std::size_t i = 0; i < seen.size(); ++i) EXPECT_NEAR(seen[i], expected[i], 1e-9) << i;

    std::vector<double> back;
    for (auto at = previousPlace(state, 100, kFps); at; at = previousPlace(state, *at, kFps)) back.push_back(*at);
    EXPECT_EQ(std::vector<double>(back.rbegin(), back.rend()), seen);
}

TEST(JumpPlaces, EveryTimeLiesBetweenItsNeighbours) {
    const edit::EditState state = someState();
    for (double t = 0; t < 10; t += 0.013) {
        const auto next = nextPlace(state, t, kFps);
        const auto previous = previousPlace(state, t, kFps);
        if (next) {
            EXPECT_GT(frameNumber(*next, kFps), frameNumber(t, kFps)) << t;
        }
        if (previous) {
            EXPECT_LT(frameNumber(*previous, kFps), frameNumber(t, kFps)) << t;
        }
        EXPECT_EQ(next.has_value(), t < 9) << t;
    }
}

TEST(JumpPlaces, StartAndEndAreTheVideosAndThenTheRecordings) {
    const edit::EditState state = someState();
    EXPECT_DOUBLE_EQ(startPlace(state, 5, kFps), 1);
    EXPECT_DOUBLE_EQ(startPlace(state, 1.01, kFps), 0) << "the same frame";
    EXPECT_DOUBLE_EQ(startPlace(state, 0.5, kFps), 0);
    EXPECT_DOUBLE_EQ(endPlace(state, 5, 10, kFps), 269.0 / 30) << "the frame at 9 s is not in the video";
    EXPECT_DOUBLE_EQ(endPlace(state, 269.0 / 30, 10, kFps), 299.0 / 30);
    EXPECT_DOUBLE_EQ(endPlace(state, 9.5, 10, kFps), 299.0 / 30);
    EXPECT_DOUBLE_EQ(endPlace(state, 9.5, 10.01, kFps), 10) << "a frame that is shown only for a moment";
}

}  // namespace
}  // namespace lumivastor::editor
