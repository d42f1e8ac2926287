// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/timeline_strip_layout.h"

#include <gtest/gtest.h>

namespace lumivastor::editor {
namespace {

using Span = TimelineStripLayout::Span;
using Item = TimelineStripLayout::Item;

model::PointerSample pressAt(double t) {
    model::PointerSample sample;
    sample.t = t;
    sample.kind = model::PointerKind::down;
    return sample;
}

TimelineStripLayout layOut(const TimelineStripContent& content, const TimeScale& scale) {
    return layOutTimelineStrip(content, scale, 80);
}

TEST(TimelineStripLayout, EverythingLiesAtItsTimeBetweenTheMargins) {
    const std::vector<Interval> kept = {{0, 2}, {4, 10}};
    const std::vector<model::ZoomSpec> zooms = {{5, 7.5, 2, {}}};
    const std::vector<model::CutRange> cuts = {{2, 4}};
    const std::vector<model::PointerSample> clicks = {pressAt(1), pressAt(6)};
    const auto layout =
        layOut({10, 30, {0, 9}, kept, zooms, cuts, clicks, std::nullopt, 5}, TimeScale({0, 10}, 10, 110));
    EXPECT_EQ(layout.whole, (Span{10, 110}));
    EXPECT_EQ(layout.kept, (std::vector<Span>{{10, 30}, {50, 110}}));
    EXPECT_EQ(layout.zooms, (std::vector<Item>{{{60, 85}, 0, true, true}}));
    EXPECT_EQ(layout.cuts, (std::vector<Item>{{{30, 50}, 0, true, true}}));
    EXPECT_EQ(layout.clicks, (std::vector<TimelineStripLayout::Click>{{20, 1}, {70, 6}}));
    EXPECT_EQ(layout.pendingCut, std::nullopt);
    EXPECT_EQ(layout.trimStart, 10);
    EXPECT_EQ(layout.trimEnd, 100);
    EXPECT_EQ(layout.playhead, 60);
}

TEST(TimelineStripLayout, OnlyWhatIsVisibleIsLaidOut) {
    const std::vector<Interval> kept = {{0, 20}, {40, 100}};
    const std::vector<model::ZoomSpec> zooms = {{5, 8, 2, {}}, {28, 32, 2, {}}, {35, 36, 2, {}}, {70, 72, 2, {}}};
    const std::vector<model::CutRange> cuts = {{20, 40}, {80, 81}};
    const std::vector<model::PointerSample> clicks = {pressAt(1), pressAt(31), pressAt(60)};
    const auto layout =
        layOut({100, 30, {0, 100}, kept, zooms, cuts, clicks, std::nullopt, 5}, TimeScale({30, 40}, 8, 108));
    EXPECT_TRUE(layout.kept.empty() || layout.kept.front().left >= 108);
    ASSERT_EQ(layout.zooms.size(), 2u);
    EXPECT_EQ(layout.zooms[0].index, 1);
    EXPECT_FALSE(layout.zooms[0].hasStart);
    EXPECT_TRUE(layout.zooms[0].hasEnd);
    EXPECT_LT(layout.zooms[0].span.left, 8);
    EXPECT_EQ(layout.zooms[0].span.right, 28);
    EXPECT_EQ(layout.zooms[1], (Item{{58, 68}, 2, true, true}));
    ASSERT_EQ(layout.cuts.size(), 1u);
    EXPECT_FALSE(layout.cuts[0].hasStart);
    EXPECT_EQ(layout.clicks, (std::vector<TimelineStripLayout::Click>{{18, 31}}));
    EXPECT_EQ(layout.trimStart, std::nullopt);
    EXPECT_EQ(layout.playhead, std::nullopt);
}

TEST(TimelineStripLayout, WhatIsTooShortOrBeyondTheEndCanStillBeSeen) {
    const std::vector<model::ZoomSpec> zooms = {{1, 1.5, 2, {}}, {3599.9, 3602.4, 2, {}}, {4000, 4002, 2, {}}};
    const auto layout = layOut({3600, 30, {0, 3600}, {}, zooms, {}, {}, std::nullopt, 9000},  //
                               TimeScale({0, 3600}, 0, 1000));
    ASSERT_EQ(layout.zooms.size(), 3u);
    for (const Item& zoom : layout.zooms) {
        EXPECT_GE(zoom.span.left, 0);
        EXPECT_LE(zoom.span.right, 1000);
        EXPECT_GE(zoom.span.width(), 2.999);
    }
    EXPECT_EQ(layout.playhead, 1000);
}

TEST(TimelineStripLayout, AMillionClicksBecomeAFewHundredMarks) {
    std::vector<model::PointerSample> clicks;
    for (int i = 0; i < 1'000'000; ++i) clicks.push_back(pressAt(i * 0.01));
    const auto layout = layOut({10'000, 30, {}, {}, {}, {}, clicks, std::nullopt, 0}, TimeScale({0, 10'000}, 10, 990));
    EXPECT_LE(layout.clicks.size(), 246u);
    EXPECT_GE(layout.clicks.size(), 200u);
    for (std::size_t i = 1; i < layout.clicks.size(); ++i) {
        EXPECT_GE(layout.clicks[i].x - layout.clicks[i - 1].x, 4 - 1e-9);
    }
}

TEST(TimelineStripLayout, APendingCutReachesToThePlayheadBehindIt) {
    const TimeScale scale({0, 10}, 0, 100);
    EXPECT_EQ(layOut({10, 30, {}, {}, {}, {}, {}, 2.0, 6}, scale).pendingCut, (Span{20, 60}));
    EXPECT_EQ(layOut({10, 30, {}, {}, {}, {}, {}, 6.0, 2}, scale).pendingCut, (Span{60, 63}));
}

TEST(TimelineStripLayout, ARecordingWithoutLengthIsHarmless) {
    const std::vector<model::PointerSample> clicks = {pressAt(0), pressAt(0)};
    const auto layout = layOut({0, 30, {}, {}, {}, {}, clicks, std::nullopt, 0}, TimeScale({0, 0}, 10, 10));
    EXPECT_EQ(layout.playhead, 10);
}

TEST(TimelineStripLayout, ShowsMarksThatCanBeToldApart) {
    const std::vector<double> marks = {1, 1.001, 5, 50};
    TimelineStripContent content;
    content.duration = 100;
    content.marks = marks;
    const TimeScale scale({0, 10}, 0, 100);
    EXPECT_EQ(layOutTimelineStrip(content, scale, 60).marks, (std::vector<double>{10, 50}));
}

}  // namespace
}  // namespace lumivastor::editor
