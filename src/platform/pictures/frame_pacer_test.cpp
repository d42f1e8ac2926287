// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/frame_pacer.h"

#include <gtest/gtest.h>

namespace lumivastor::platform {
namespace {

using Action = FramePacer::Action;

TEST(TickSchedule, KeepsItsGridWhenATickIsLate) {
    TickSchedule ticks(100, 0.5);
    EXPECT_DOUBLE_EQ(ticks.next(), 100);
    ticks.advance(100.4);
    EXPECT_DOUBLE_EQ(ticks.next(), 100.5);
}

TEST(TickSchedule, LeavesOutMissedTicks) {
    TickSchedule ticks(100, 0.5);
    ticks.advance(102.2);
    EXPECT_DOUBLE_EQ(ticks.next(), 102.5);
    ticks.advance(103);
    EXPECT_DOUBLE_EQ(ticks.next(), 103);
    ticks.advance(103);
    EXPECT_DOUBLE_EQ(ticks.next(), 103.5);
}

TEST(MissedIntervals, AreThoseThatALongLookTook) {
    MissedIntervals missed(100, 0.1);
    for (int i = 0; i < 50; ++i) {
        const double due = 100 + i * 0.1;
        missed.begin(due, true);
        missed.end(due + 0.09, true);
    }
    EXPECT_EQ(missed.count(), 0);
    // Three and a half intervals: two passed, and the next look is in the one after them.
    missed.begin(105, true);
    missed.end(105.35, true);
    missed.begin(105.36, true);
    missed.end(105.37, true);
    EXPECT_EQ(missed.count(), 2);
    // The thread did not run.
    missed.begin(105.71, true);
    missed.end(105.72, true);
    EXPECT_EQ(missed.count(), 5);
}

TEST(MissedIntervals, WhatStandsStillMissesNothing) {
    MissedIntervals missed(100, 0.1);
    missed.begin(100, true);
    missed.end(100.5, true);
    missed.begin(100.5, true);
    missed.end(100.51, false);
    missed.begin(100.6, true);
    missed.end(100.61, true);
    EXPECT_EQ(missed.count(), 0);
}

TEST(MissedIntervals, WhatChangesNowAndThenMissesNothing) {
    MissedIntervals missed(100, 0.1);
    for (int i = 0; i < 20; ++i) {
        const double due = 100 + i;
        // A change once a second, found late and painted slowly.
        missed.begin(due + 0.35, true);
        missed.end(due + 0.65, true);
        missed.begin(due + 0.7, true);
        missed.end(due + 0.71, false);
        missed.begin(due + 0.9, true);
        missed.end(due + 0.91, false);
    }
    EXPECT_EQ(missed.count(), 0);
}

// Looks that take `look` seconds each, at content of so many pictures a second, after some that were in time; the
// estimated share of pictures that were lost.
double estimatedLoss(double content, double look) {
    constexpr double kInterval = 1.0 / 60;
    MissedIntervals missed(0, kInterval);
    TickSchedule ticks(0, kInterval);
    std::int64_t shown = -1;
    std::int64_t seen = 0;
    for (double slow = 0; slow < 10;) {
        const double due = ticks.next();
        const bool isSlow = due > 5;
        const auto present = static_cast<std::int64_t>(due * content);
        missed.begin(due, true);
        const double end = due + (isSlow ? look : 0.002);
        const bool isNew = present != shown;
        missed.end(end, isNew && shown >= 0);
        shown = present;
        if (isSlow && isNew) ++seen;
        if (isSlow) slow = due - 5;
        ticks.advance(end);
    }
    return static_cast<double>(missed.count()) / static_cast<double>(missed.count() + seen);
}

TEST(MissedIntervals, SlowerContentMissesFewer) {
    EXPECT_EQ(estimatedLoss(60, 0.002), 0);
    EXPECT_NEAR(estimatedLoss(60, 0.020), 1.0 / 2, 0.01);
    EXPECT_NEAR(estimatedLoss(60, 0.045), 2.0 / 3, 0.01);
    EXPECT_EQ(estimatedLoss(30, 0.030), 0);
    EXPECT_NEAR(estimatedLoss(30, 0.045), 1.0 / 3, 0.03);
    EXPECT_NEAR(estimatedLoss(30, 0.095), 2.0 / 3, 0.03);
    EXPECT_LT(estimatedLoss(20, 0.045), 0.05);
}

TEST(MissedIntervals, NothingIsMissedWhereNothingArrived) {
    MissedIntervals missed(100, 0.1);
    missed.begin(100.05, false);
    missed.end(100.06, true);
    missed.begin(100.1, true);
    missed.end(100.11, false);
    missed.begin(100.95, false);
    missed.end(100.96, true);
    EXPECT_EQ(missed.count(), 0);
    // Content that arrives faster than it is painted.
    missed.begin(100.96, false);
    missed.end(101.26, true);
    missed.begin(101.26, false);
    missed.end(101.5, true);
    EXPECT_EQ(missed.count(), 2);
}

TEST(FramePacer, FirstPictureIsStartedAndLaterOnesAreComplete) {
    FramePacer pacer;
    EXPECT_EQ(pacer.atTick({10, true, false, true}), Action::takePicture);
    EXPECT_EQ(pacer.taken(10), FrameStatus::started);
    EXPECT_EQ(pacer.atTick({10.1, true, false, true}), Action::takePicture);
    EXPECT_EQ(pacer.taken(10.1), FrameStatus::complete);
}

TEST(FramePacer, IsIdleWhileNothingChangesAndRepeatsEachSecond) {
    FramePacer pacer;
    pacer.atTick({0, true, false, true});
    pacer.taken(0);
    int repeats = 0;
    double last = 0;
    for (int tick = 1; tick <= 600; ++tick) {
        const double now = tick / 60.0;
        const Action action = pacer.atTick({now, false, false, true});
        if (action == Action::repeatLast) {
            ++repeats;
            last = now;
        } else {
            EXPECT_EQ(action, Action::tellIdle);
        }
        EXPECT_LT(now - last, FramePacer::kRepeatAfter);
    }
    EXPECT_EQ(repeats, 10);
}

TEST(FramePacer, WaitsForABufferWithoutCallingTheContentIdle) {
    FramePacer pacer;
    pacer.atTick({0, true, false, true});
    pacer.taken(0);
    EXPECT_EQ(pacer.atTick({0.1, true, false, false}), Action::nothing);
    EXPECT_EQ(pacer.atTick({0.2, true, false, true}), Action::takePicture);
}

TEST(FramePacer, HoldsTheLastPictureWhileTheContentIsHidden) {
    FramePacer pacer;
    EXPECT_EQ(pacer.atTick({0, true, true, true}), Action::tellSuspended);
    EXPECT_EQ(pacer.atStop({0.1, true, true, true}), Action::nothing);
    pacer.atTick({1, true, false, true});
    EXPECT_EQ(pacer.taken(1), FrameStatus::started);
    EXPECT_EQ(pacer.atTick({1.5, true, true, true}), Action::tellSuspended);
    EXPECT_EQ(pacer.atTick({2, false, true, true}), Action::repeatLast);
    EXPECT_EQ(pacer.atTick({2.5, false, true, true}), Action::tellSuspended);
}

TEST(FramePacer, DeliversTheNewestContentWhenStopped) {
    FramePacer pacer;
    pacer.atTick({0, true, false, true});
    pacer.taken(0);
    EXPECT_EQ(pacer.atStop({0.1, true, false, true}), Action::takePicture);
    EXPECT_EQ(pacer.atStop({0.1, true, false, false}), Action::repeatLast);
    EXPECT_EQ(pacer.atStop({0.2, false, false, true}), Action::repeatLast);
}

}  // namespace
}  // namespace lumivastor::platform
