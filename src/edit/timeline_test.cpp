// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/timeline.h"

#include <gtest/gtest.h>

#include <random>

namespace lumivastor::edit {
namespace {

std::vector<Interval> kept(double duration, const std::vector<model::CutRange>& cuts, double trimStart = 0,
                           double trimEnd = 0) {
    model::ProjectSettings settings;
    settings.trimStart = trimStart;
    settings.trimEnd = trimEnd;
    return keptSegments(effectiveTrim(settings, duration), cuts);
}

using Segments = std::vector<Interval>;

TEST(Timeline, WithoutCutsAndTrimEverythingIsKept) {
    EXPECT_EQ(kept(12.5, {}), (Segments{{0, 12.5}}));
}

TEST(Timeline, OverlappingCutsMerge) {
    EXPECT_EQ(kept(10, {{2, 3}, {2.5, 4}}), (Segments{{0, 2}, {4, 10}}));
    EXPECT_EQ(kept(10, {{2.5, 4}, {2, 3}}), (Segments{{0, 2}, {4, 10}}));
    EXPECT_EQ(kept(10, {{2, 8}, {3, 4}}), (Segments{{0, 2}, {8, 10}}));
}

TEST(Timeline, ATinyPieceBetweenCutsIsDropped) {
    EXPECT_EQ(kept(10, {{2, 3}, {3.0, 3.0005}}), (Segments{{0, 2}, {3.0005, 10}}));
    EXPECT_EQ(kept(10, {{2, 3}, {3.0005, 4}}), (Segments{{0, 2}, {4, 10}}));
    EXPECT_EQ(kept(10, {{0.0005, 3}, {4, 9.9995}}), (Segments{{3, 4}}));
}

TEST(Timeline, CutsOutsideOrEmptyAreIgnored) {
    EXPECT_EQ(kept(10, {{-5, -1}, {11, 20}, {4, 4}, {6, 5}}), (Segments{{0, 10}}));
    EXPECT_EQ(kept(10, {{-5, 1}, {9, 20}}), (Segments{{1, 9}}));
}

TEST(Timeline, CuttingEverythingLeavesNothing) {
    EXPECT_TRUE(kept(10, {{0, 10}}).empty());
    EXPECT_TRUE(kept(10, {{-1, 6}, {5, 11}}).empty());
    EXPECT_TRUE(kept(0, {}).empty());
    EXPECT_TRUE(kept(-1, {}).empty());
}

TEST(Timeline, TheTrimEndCountsWhenItLiesInside) {
    for (const double unset : {0.0, 0.005, 0.01, -3.0, 10.001}) EXPECT_EQ(kept(10, {}, 0, unset), (Segments{{0, 10}}));
    EXPECT_EQ(kept(10, {}, 0, 10), (Segments{{0, 10}}));
    EXPECT_EQ(kept(10, {}, 0, 4), (Segments{{0, 4}}));
    EXPECT_EQ(kept(10, {}, 0, 0.011), (Segments{{0, 0.011}}));
}

TEST(Timeline, TheTrimStartLeavesHalfASecond) {
    EXPECT_EQ(kept(5, {}, 10), (Segments{{4.5, 5}}));
    EXPECT_EQ(kept(5, {}, 3, 3.2), (Segments{{2.7, 3.2}}));
    EXPECT_EQ(kept(0.3, {}, 10), (Segments{{0, 0.3}}));
    EXPECT_EQ(kept(5, {}, 1), (Segments{{1, 5}}));
}

TEST(Timeline, BeforeTheRecordingThereIsNothingToKeep) {
    for (const double start : {-0.001, -5.0, -1e9, -1e300}) EXPECT_EQ(kept(5, {}, start), (Segments{{0, 5}})) << start;
    EXPECT_EQ(kept(5, {}, -1e300, 4), (Segments{{0, 4}}));
    EXPECT_EQ(kept(0.3, {}, -1), (Segments{{0, 0.3}}));
}

TEST(Timeline, CutsBeforeTheTrimStartDoNotBringItBack) {
    EXPECT_EQ(kept(10, {{1, 2}, {2.5, 4}}, 3), (Segments{{4, 10}}));
}

TEST(Timeline, TheFirstMomentAfterASegmentIsTheStartOfTheNext) {
    const Segments segments = {{0, 2}, {4, 10}};
    EXPECT_EQ(sourceTime(segments, 0), 0);
    EXPECT_EQ(sourceTime(segments, 1.5), 1.5);
    EXPECT_EQ(sourceTime(segments, 2), 4);
    EXPECT_EQ(sourceTime(segments, 3), 5);
}

TEST(Timeline, PastTheEndIsTheLastEndAndWithoutSegmentsTheTimeItself) {
    EXPECT_EQ(sourceTime(Segments{{0, 2}, {4, 10}}, 8), 10);
    EXPECT_EQ(sourceTime(Segments{{0, 2}, {4, 10}}, 1e9), 10);
    EXPECT_EQ(sourceTime(Segments{}, 7.5), 7.5);
}

TEST(Timeline, TheOutputLastsAsLongAsItsSegments) {
    EXPECT_EQ(outputDuration(Segments{{0, 2}, {4, 10}}), 8);
    EXPECT_EQ(outputDuration(Segments{}), 0);
}

TEST(TimelineProperty, SegmentsAreOrderedDisjointInsideAndOutsideOfEveryCut) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> time(-5, 65);
    for (int round = 0; round < 2000; ++round) {
        const double duration = static_cast<double>(random() % 6000) / 100;
        model::ProjectSettings settings;
        settings.trimStart = std::max(0.0, time(random) - 40);
        settings.trimEnd = random() % 2 == 0 ? 0 : time(random);
        for (std::size_t i = random() % 8; i > 0; --i) settings.cuts.push_back({time(random), time(random)});
        const TrimRange trim = effectiveTrim(settings, duration);
        const Segments segments = keptSegments(trim, settings.cuts);
        double last = trim.start;
        for (const auto& segment : segments) {
            ASSERT_GE(segment.start, last);
            ASSERT_GT(segment.end - segment.start, 0.001 - 1e-12);
            ASSERT_LE(segment.end, trim.end);
            for (const auto& cut : settings.cuts) {
                const double start = std::max(cut.start, trim.start);
                const double end = std::min(cut.end, trim.end);
                ASSERT_TRUE(!(start < end) || end <= segment.start || start >= segment.end);
            }
            last = segment.end;
        }
        // What is dropped are slivers only.
        double cutAway = 0;
        for (double t = trim.start + 0.005; t < trim.end; t += 0.01) {
            bool inCut = false;
            for (const auto& cut : settings.cuts) inCut = inCut || (t >= cut.start && t < cut.end);
            bool inSegment = false;
            for (const auto& segment : segments) inSegment = inSegment || (t >= segment.start && t < segment.end);
            if (inCut == inSegment) cutAway += 0.01;
        }
        ASSERT_LE(cutAway, 0.01 * static_cast<double>(settings.cuts.size() + 1));
    }
}

TEST(TimelineProperty, TheMappingNeverRunsBackwardAndStaysInsideTheSegments) {
    std::mt19937 random(4);
    std::uniform_real_distribution<double> time(0, 60);
    for (int round = 0; round < 500; ++round) {
        std::vector<model::CutRange> cuts;
        for (std::size_t i = random() % 8; i > 0; --i) cuts.push_back({time(random), time(random)});
        const Segments segments = keptSegments({0, 60}, cuts);
        if (segments.empty()) continue;
        const double length = outputDuration(segments);
        double last = -1;
        for (double t = 0; t < length; t += 0.037) {
            const double source = sourceTime(segments, t);
            ASSERT_GE(source, last);
            bool inside = false;
            for (const auto& segment : segments) inside = inside || (source >= segment.start && source <= segment.end);
            ASSERT_TRUE(inside);
            last = source;
        }
    }
}

TEST(Timeline, OutputTimesAreTheReverseOfSourceTimes) {
    const std::vector<Interval> segments = {{1, 3}, {5, 5.5}, {7, 10}};
    for (double t = 0; t < outputDuration(segments); t += 0.125) {
        EXPECT_EQ(outputTime(segments, sourceTime(segments, t)), t);
    }
    for (const double t : {0.0, 0.99, 3.0, 4.0, 5.5, 6.9, 10.1}) EXPECT_EQ(outputTime(segments, t), std::nullopt) << t;
    EXPECT_EQ(outputTime(segments, 10), 5.5);
    EXPECT_EQ(outputTime({}, 1), std::nullopt);
}

}  // namespace
}  // namespace lumivastor::edit
