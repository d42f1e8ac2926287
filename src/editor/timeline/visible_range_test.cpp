// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/visible_range.h"

#include <gtest/gtest.h>

namespace lumivastor::editor {
namespace {

constexpr double kHours = 3 * 3600;

void expectInside(const Interval& visible, const VisibleLimits& limits) {
    EXPECT_GE(visible.start, 0);
    EXPECT_LE(visible.end, limits.duration + 1e-9);
    EXPECT_GE(visible.length(), limits.least - 1e-9);
}

TEST(VisibleRange, TheTimeUnderThePointerStaysThere) {
    const VisibleLimits limits = visibleLimits(kHours, 60);
    Interval visible = wholeRange(limits);
    const double around = 4000;
    for (int i = 0; i < 40; ++i) {
        const TimeScale before(visible, 8, 1000);
        visible = zoomedRange(visible, 1.25, around, limits);
        expectInside(visible, limits);
        EXPECT_NEAR(TimeScale(visible, 8, 1000).at(around), before.at(around), 1e-6) << i;
    }
    // Out again: the ends of the recording stop it.
    for (int i = 0; i < 60; ++i) {
        visible = zoomedRange(visible, 1 / 1.25, around, limits);
        expectInside(visible, limits);
    }
    EXPECT_EQ(visible, wholeRange(limits));
    EXPECT_TRUE(isWhole(visible, limits));
}

TEST(VisibleRange, AFewFramesAreTheShortest) {
    const VisibleLimits limits = visibleLimits(kHours, 60);
    Interval visible = wholeRange(limits);
    for (int i = 0; i < 100; ++i) visible = zoomedRange(visible, 2, 77, limits);
    EXPECT_NEAR(visible.length(), 12.0 / 60, 1e-9);
    EXPECT_TRUE(visible.contains(77));
}

TEST(VisibleRange, ScrollingStopsAtTheEnds) {
    const VisibleLimits limits = visibleLimits(100, 30);
    EXPECT_EQ(scrolledRange({20, 30}, 5, limits), (Interval{25, 35}));
    EXPECT_EQ(scrolledRange({20, 30}, -500, limits), (Interval{0, 10}));
    EXPECT_EQ(scrolledRange({20, 30}, 500, limits), (Interval{90, 100}));
    EXPECT_EQ(scrolledRange(wholeRange(limits), 7, limits), wholeRange(limits));
}

TEST(VisibleRange, WhatIsShownHasRoomAroundIt) {
    const VisibleLimits limits = visibleLimits(100, 30);
    const Interval visible = rangeAround({40, 50}, limits);
    EXPECT_NEAR(visible.start, 38.5, 1e-9);
    EXPECT_NEAR(visible.end, 51.5, 1e-9);
    EXPECT_EQ(rangeAround({0, 100}, limits), wholeRange(limits));
    expectInside(rangeAround({0, 1}, limits), limits);
    expectInside(rangeAround({99.9, 102}, limits), limits);
    EXPECT_NEAR(rangeAround({50, 50}, limits).length(), limits.least, 1e-9);
}

TEST(VisibleRange, ATimeOutsideIsBroughtToTheFront) {
    const VisibleLimits limits = visibleLimits(100, 30);
    EXPECT_EQ(rangeWith({20, 30}, 25, limits), (Interval{20, 30}));
    EXPECT_EQ(rangeWith({20, 30}, 30, limits), (Interval{20, 30}));
    EXPECT_EQ(rangeWith({20, 30}, 41, limits), (Interval{40, 50}));
    EXPECT_EQ(rangeWith({20, 30}, 0, limits), (Interval{0, 10}));
    EXPECT_EQ(rangeWith({20, 30}, 100, limits), (Interval{90, 100}));
}

TEST(VisibleRange, RecordingsWithoutLengthAreHarmless) {
    for (const double duration : {0.0, -1.0, 1.0 / 30}) {
        const VisibleLimits limits = visibleLimits(duration, 30);
        const Interval whole = wholeRange(limits);
        EXPECT_EQ(zoomedRange(whole, 2, 0, limits), whole);
        EXPECT_EQ(scrolledRange(whole, 1, limits), whole);
        EXPECT_EQ(rangeAround({0, 0}, limits), whole);
        const TimeScale scale(whole, 8, 8);
        EXPECT_EQ(scale.at(0), 8);
        EXPECT_EQ(scale.secondsAt(20), 0);
    }
}

TEST(VisibleRange, PositionsAreTimes) {
    const TimeScale scale({10, 20}, 100, 300);
    EXPECT_EQ(scale.at(10), 100);
    EXPECT_EQ(scale.at(15), 200);
    EXPECT_EQ(scale.at(25), 400);
    EXPECT_EQ(scale.secondsAt(300), 20);
    EXPECT_EQ(scale.secondsAt(0), 5);
    EXPECT_EQ(scale.seconds(20), 1);
}

}  // namespace
}  // namespace lumivastor::editor
