// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/played_ranges.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lumivastor::playback {
namespace {

using Ranges = std::vector<Interval>;

TEST(PlayedRanges, SortsMergesAndCutsOffWhatItIsGiven) {
    const PlayedRanges ranges({{6, 99}, {-3, 1}, {4, 5}, {0.5, 2}, {5, 5.5}, {7, 7}, {9, 8}}, 10, 30);
    EXPECT_EQ(ranges.ahead(0, 100), (Ranges{{0, 2}, {4, 5.5}, {6, 10}}));
    EXPECT_TRUE(PlayedRanges({{12, 14}}, 10, 30).ahead(0, 100).empty());
    EXPECT_FALSE(PlayedRanges().playableFrom(0));
}

TEST(PlayedRanges, PlaysOnFromTheNextRangeWhereverThereIsNone) {
    const PlayedRanges ranges({{1, 2}, {4, 5}}, 10, 30);
    EXPECT_EQ(ranges.playableFrom(0), 1);
    EXPECT_EQ(ranges.playableFrom(1), 1);
    EXPECT_EQ(ranges.playableFrom(1.99), 1.99);
    EXPECT_EQ(ranges.playableFrom(2), 4);
    EXPECT_EQ(ranges.playableFrom(4.5), 4.5);
    EXPECT_EQ(ranges.playableFrom(5), std::nullopt);
    EXPECT_EQ(ranges.runsUntil(1.5), 2);
    EXPECT_EQ(ranges.runsUntil(3), 3);
    EXPECT_EQ(ranges.runsSince(1.5), 1);
    EXPECT_EQ(ranges.runsSince(4), 4);
    EXPECT_EQ(ranges.runsSince(3), 3);
}

TEST(PlayedRanges, TheFilmsOwnEndsAreNoJumps) {
    const PlayedRanges ranges({{1, 2}, {4, 5}, {7, 8}}, 10, 30);
    EXPECT_FALSE(ranges.isJumpedTo(1.5));
    EXPECT_TRUE(ranges.isJumpedFrom(1.5));
    EXPECT_TRUE(ranges.isJumpedTo(4));
    EXPECT_TRUE(ranges.isJumpedFrom(4.9));
    EXPECT_TRUE(ranges.isJumpedTo(7.5));
    EXPECT_FALSE(ranges.isJumpedFrom(7.5));
    EXPECT_FALSE(ranges.isJumpedTo(3));
    EXPECT_FALSE(ranges.isJumpedFrom(3));
}

TEST(PlayedRanges, LooksAheadAcrossGaps) {
    const PlayedRanges ranges({{1, 2}, {4, 4.25}, {6, 9}}, 10, 30);
    EXPECT_EQ(ranges.ahead(1.5, 0.25), (Ranges{{1.5, 1.75}}));
    EXPECT_EQ(ranges.ahead(1.5, 1), (Ranges{{1.5, 2}, {4, 4.25}, {6, 6.25}}));
    EXPECT_EQ(ranges.ahead(3, 0.25), (Ranges{{4, 4.25}}));
    EXPECT_EQ(ranges.ahead(8.5, 100), (Ranges{{8.5, 9}}));
    EXPECT_TRUE(ranges.ahead(9, 1).empty());
}

TEST(PlayedRanges, ShowsEveryFrameOfTheGridAndTheStartOfEachRange) {
    // Starts on the grid, between two frames, and just below a frame for want of digits.
    const PlayedRanges ranges({{0.5, 1}, {2.01, 2.11}, {3.1 - 1e-12, 3.2}}, 10, 10);
    std::vector<double> frames;
    for (std::optional<double> frame = ranges.playableFrom(0); frame; frame = ranges.frameAfter(*frame)) {
        frames.push_back(*frame);
        ASSERT_LT(frames.size(), 100u);
    }
    const std::vector<double> expected{0.5, 0.6, 0.7, 0.8, 0.9, 2.01, 2.1, 3.1};
    ASSERT_EQ(frames.size(), expected.size());
    for (std::size_t i = 0; i < frames.size(); ++i) EXPECT_NEAR(frames[i], expected[i], 1e-9) << i;
}

TEST(PlayedRanges, TheFrameShownIsTheLastOneThatHasBegun) {
    for (const double rate : {24.0, 25.0, 30.0, 60.0, 120.0}) {
        const PlayedRanges ranges({{0.013, 3}, {5, 8}}, 10, rate);
        double frame = *ranges.playableFrom(0);
        for (int tick = 13; tick < 8000; ++tick) {
            const double t = tick / 1000.0;
            if (!ranges.playableFrom(t) || ranges.playableFrom(t) != t) continue;
            for (auto next = ranges.frameAfter(frame); next && *next <= t + 1e-6; next = ranges.frameAfter(frame)) {
                frame = *next;
            }
            EXPECT_NEAR(ranges.frameAt(t), frame, 1e-9) << t << " at " << rate;
        }
    }
}

TEST(PlayedRanges, PlayingStandsOnTheFrameShownAndNeverOnWhatIsCutAway) {
    for (const double rate : {24.0, 30.0, 60.0, 144.0}) {
        // An end on the grid, an end and a start off it.
        const PlayedRanges ranges({{0, 90 / rate}, {121.4 / rate, 200.7 / rate}, {300 / rate, 400 / rate}}, 1000, rate);
        double last = 0;
        // Every moment that sound can be at, to the end of what is played.
        for (std::optional<double> at = 0; at; at = ranges.playableFrom(std::round(*at * 48000 + 1) / 48000)) {
            const double frame = ranges.standingFrame(*at);
            ASSERT_EQ(ranges.frameAt(frame), frame) << *at;
            ASSERT_EQ(ranges.playableFrom(frame), frame) << *at;
            ASSERT_LE(frame, *at + 1e-6);
            ASSERT_LT(*at - frame, 1 / rate + 1e-5);
            ASSERT_GE(frame, last);
            last = frame;
        }
        EXPECT_NEAR(last, 399 / rate, 1e-9);
        // Where sound says that it has come to an end, or to a start, to the nearest of its frames.
        const auto heard = [](double seconds) { return std::round(seconds * 48000) / 48000; };
        EXPECT_NEAR(ranges.standingFrame(heard(400 / rate)), 399 / rate, 1e-9) << rate;
        EXPECT_NEAR(ranges.standingFrame(heard(200.7 / rate)), 200 / rate, 1e-9) << rate;
        EXPECT_NEAR(ranges.standingFrame(heard(90 / rate)), 89 / rate, 1e-9) << rate;
        EXPECT_NEAR(ranges.standingFrame(heard(121.4 / rate)), 121.4 / rate, 1e-9) << rate;
        // In the middle of a cut that was made while playing.
        EXPECT_NEAR(ranges.standingFrame(110.5 / rate), 110 / rate, 1e-9) << rate;
        EXPECT_NEAR(ranges.standingFrame(500.5 / rate), 500 / rate, 1e-9) << rate;
    }
    EXPECT_EQ(PlayedRanges().standingFrame(2.5), 2);
}

TEST(PlayedRanges, EveryMomentLiesInARangeOrAGap) {
    const PlayedRanges ranges({{1, 2}, {4, 5}}, 10, 10);
    EXPECT_EQ(ranges.stretchAt(1), (Interval{1, 2}));
    EXPECT_EQ(ranges.stretchAt(1.99), (Interval{1, 2}));
    EXPECT_EQ(ranges.stretchAt(4.5), (Interval{4, 5}));
    EXPECT_EQ(ranges.stretchAt(2), (Interval{2, 4}));
    EXPECT_EQ(ranges.stretchAt(3.9), (Interval{2, 4}));
    EXPECT_EQ(ranges.stretchAt(0.5).end, 1);
    EXPECT_LT(ranges.stretchAt(0.5).start, 0);
    EXPECT_EQ(ranges.stretchAt(7).start, 5);
    EXPECT_GT(ranges.stretchAt(7).end, 10);
    EXPECT_LT(PlayedRanges().stretchAt(3).start, 0);
}

TEST(PlayedRanges, FramesInAGapLieOnTheGridAndAreFollowedByTheNextRange) {
    const PlayedRanges ranges({{1, 2}, {4.03, 5}}, 10, 10);
    EXPECT_NEAR(ranges.frameAt(3.27), 3.2, 1e-9);
    EXPECT_EQ(ranges.frameAfter(3.2), 4.03);
    EXPECT_EQ(ranges.frameAfter(7), std::nullopt);
}

}  // namespace
}  // namespace lumivastor::playback
