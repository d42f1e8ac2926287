// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/idle_stretches.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace lumivastor::edit {
namespace {

using Intervals = std::vector<Interval>;

model::PointerSample event(double t, double x, double y, model::PointerKind kind = model::PointerKind::move) {
    model::PointerSample sample;
    sample.t = t;
    sample.px = x;
    sample.py = y;
    sample.kind = kind;
    return sample;
}

TEST(PointerPauses, WithoutEventsTheWholeRecordingIsOne) {
    EXPECT_EQ(pointerPauses({}, 10), (Intervals{{0, 10}}));
    EXPECT_EQ(pointerPauses({}, 0), Intervals{});
}

TEST(PointerPauses, LieBetweenMoves) {
    const std::vector events{event(0, 100, 100), event(2, 110, 100), event(2.5, 120, 100), event(7, 300, 100)};
    EXPECT_EQ(pointerPauses(events, 10), (Intervals{{0, 2}, {2, 2.5}, {2.5, 7}, {7, 10}}));
}

TEST(PointerPauses, AHandThatRestsOnTheMouseIsNoActivity) {
    std::vector<model::PointerSample> events{event(0, 100, 100), event(1, 200, 100)};
    for (int i = 0; i < 100; ++i) events.push_back(event(1.1 + i * 0.05, 200 + i % 3 - 1, 100 + i % 2));
    events.push_back(event(8, 260, 100));
    EXPECT_EQ(pointerPauses(events, 10), (Intervals{{0, 1}, {1, 8}, {8, 10}}));
}

TEST(PointerPauses, ASlowDriftIsActivity) {
    std::vector<model::PointerSample> events;
    for (int i = 0; i <= 100; ++i) events.push_back(event(i * 0.1, 100 + i, 100));
    for (const Interval& pause : pointerPauses(events, 10)) EXPECT_LT(pause.length(), 0.5);
}

TEST(PointerPauses, PressesAndScrollingAreActivityWithoutAMove) {
    using model::PointerKind;
    for (const PointerKind kind : {PointerKind::down, PointerKind::up, PointerKind::drag, PointerKind::scroll}) {
        const std::vector events{event(0, 100, 100), event(4, 100, 100, kind)};
        EXPECT_EQ(pointerPauses(events, 10), (Intervals{{0, 4}, {4, 10}}));
    }
}

TEST(PointerPauses, EventsOutsideOfTheRecordingOnlySayWhereThePointerIs) {
    const std::vector events{event(-1, 0, 0), event(-0.5, 50, 0), event(3, 50, 0), event(12, 90, 0)};
    EXPECT_EQ(pointerPauses(events, 10), (Intervals{{0, 10}}));
}

TEST(CommonParts, AreWhatBothHave) {
    const Intervals a{{0, 5}, {6, 10}, {12, 13}};
    const Intervals b{{1, 2}, {4, 7}, {10, 20}};
    EXPECT_EQ(commonParts(a, b), (Intervals{{1, 2}, {4, 5}, {6, 7}, {12, 13}}));
    EXPECT_EQ(commonParts(b, a), commonParts(a, b));
    EXPECT_EQ(commonParts(a, {}), Intervals{});
    EXPECT_EQ(commonParts(a, a), a);
}

TEST(IdleStretches, LeaveHalfTheRestAtEitherEnd) {
    const Intervals idle{{10, 20}};
    const Intervals kept{{0, 60}};
    const auto found = idleStretches(idle, kept, 60, {3, 1});
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].idle, (Interval{10, 20}));
    EXPECT_DOUBLE_EQ(found[0].cut.start, 10.5);
    EXPECT_DOUBLE_EQ(found[0].cut.end, 19.5);
}

TEST(IdleStretches, ShorterOnesStay) {
    const Intervals idle{{1, 3.9}, {10, 13}, {20, 23.5}};
    const Intervals kept{{0, 60}};
    const auto found = idleStretches(idle, kept, 30, {});
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].idle.start, 10);
    EXPECT_EQ(found[1].idle.start, 20);
}

TEST(IdleStretches, CountWhatTrimAndCutsLeave) {
    const Intervals idle{{0, 20}, {30, 40}, {50, 60}};
    const Intervals kept{{4, 12}, {14, 16}, {34, 38.5}, {55, 58}};
    const auto found = idleStretches(idle, kept, 60, {3, 0.5});
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[0].idle, (Interval{4, 12}));
    EXPECT_EQ(found[1].idle, (Interval{34, 38.5}));
    EXPECT_EQ(found[2].idle, (Interval{55, 58}));
}

TEST(IdleStretches, OfTheWholeRecordingIsOneCut) {
    const Intervals whole{{0, 12.345}};
    const auto found = idleStretches(whole, whole, 60, {});
    ASSERT_EQ(found.size(), 1U);
    EXPECT_NEAR(found[0].cut.length(), 12.345 - 0.7, 2.0 / 60);
}

TEST(IdleStretches, ARestAsLongAsTheStretchLeavesNothingToCut) {
    const Intervals idle{{10, 14}};
    const Intervals kept{{0, 60}};
    EXPECT_TRUE(idleStretches(idle, kept, 60, {3, 4}).empty());
    EXPECT_TRUE(idleStretches(idle, kept, 60, {3, 3.95}).empty());
    EXPECT_TRUE(idleStretches(idle, kept, 60, {0.5, 0.7}).empty()) << "what is left would be proposed again";
    const auto none = idleStretches(idle, kept, 60, {3, -5});
    ASSERT_EQ(none.size(), 1U);
    EXPECT_EQ(none[0].cut, (Interval{10, 14}));
}

TEST(IdleStretches, LieOnFramesInsideOfTheStretch) {
    std::mt19937 random(11);
    const auto seconds = [&random](double most) { return std::uniform_real_distribution<>(0, most)(random); };
    for (int trial = 0; trial < 2000; ++trial) {
        const std::int64_t fps = std::vector<std::int64_t>{1, 24, 25, 30, 60, 144, 0}[random() % 7];
        const auto frames = static_cast<double>(std::max<std::int64_t>(fps, 1));
        const double duration = 20 + seconds(600);
        Intervals idle;
        for (double t = seconds(5); t < duration; t += seconds(9)) {
            const double end = std::min(t + seconds(20), duration);
            idle.push_back({t, end});
            t = end;
        }
        const double trim = seconds(10);
        const std::vector<model::CutRange> cuts{{seconds(duration), seconds(duration)}, {30, 40}};
        const IdleRules rules{0.5 + seconds(5), seconds(2)};
        const auto kept = keptSegments({trim, duration}, cuts);
        const auto found = idleStretches(idle, kept, fps, rules);

        std::vector<model::CutRange> all = cuts;
        double last = 0;
        for (const IdleStretch& stretch : found) {
            EXPECT_GE(stretch.idle.length(), rules.least);
            EXPECT_GE(stretch.cut.start, last);
            EXPECT_GE(stretch.cut.start, stretch.idle.start + rules.rest / 2 - 0.001);
            EXPECT_LE(stretch.cut.end, stretch.idle.end - rules.rest / 2 + 0.001);
            EXPECT_GT(stretch.cut.length(), 0.1);
            EXPECT_NEAR(stretch.cut.start * frames, std::round(stretch.cut.start * frames), 1e-6);
            EXPECT_NEAR(stretch.cut.end * frames, std::round(stretch.cut.end * frames), 1e-6);
            last = stretch.cut.end;
            all.push_back({stretch.cut.start, stretch.cut.end});
        }
        // What all cuts leave is not proposed again.
        const auto again = idleStretches(idle, keptSegments({trim, duration}, all), fps, rules);
        EXPECT_TRUE(again.empty()) << trial << " " << again.size();
        if (testing::Test::HasFailure()) return;
    }
}

}  // namespace
}  // namespace lumivastor::edit
