// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/timeline_strip_layout.h"

#include <gtest/gtest.h>

namespace lumivastor::editor {
namespace {

using Span = TimelineStripLayout::Span;

model::PointerSample pressAt(double t) {
    model::PointerSample sample;
    sample.t = t;
    sample.kind = model::PointerKind::down;
    return sample;
}

TEST(TimelineStripLayout, EverythingLiesAtItsTimeBetweenTheMargins) {
    const std::vector<Interval> kept = {{0, 2}, {4, 10}};
    const std::vector<model::ZoomSpec> zooms = {{5, 7.5, 2, {}}};
    const std::vector<model::PointerSample> clicks = {pressAt(1), pressAt(6)};
    const auto layout = layOutTimelineStrip({10, kept, zooms, clicks, {}, 5}, 120, 10);
    EXPECT_EQ(layout.whole, (Span{10, 110}));
    EXPECT_EQ(layout.kept, (std::vector<Span>{{10, 30}, {50, 110}}));
    EXPECT_EQ(layout.zooms, (std::vector<Span>{{60, 85}}));
    EXPECT_EQ(layout.clicks, (std::vector<double>{20, 70}));
    EXPECT_EQ(layout.pendingCut, std::nullopt);
    EXPECT_EQ(layout.playhead, 60);
}

TEST(TimelineStripLayout, WhatIsTooShortOrBeyondTheEndCanStillBeSeen) {
    const std::vector<model::ZoomSpec> zooms = {{1, 1.5, 2, {}}, {3599.9, 3602.4, 2, {}}, {4000, 4002, 2, {}}};
    const auto layout = layOutTimelineStrip({3600, {}, zooms, {}, {}, 9000}, 1000, 0);
    for (const Span& span : layout.zooms) {
        EXPECT_GE(span.left, 0);
        EXPECT_LE(span.right, 1000);
        EXPECT_GE(span.right - span.left, 2.999);
    }
    EXPECT_EQ(layout.playhead, 1000);
}

TEST(TimelineStripLayout, AMillionClicksBecomeAFewHundredMarks) {
    std::vector<model::PointerSample> clicks;
    for (int i = 0; i < 1'000'000; ++i) clicks.push_back(pressAt(i * 0.01));
    const auto layout = layOutTimelineStrip({10'000, {}, {}, clicks, {}, 0}, 1000, 10);
    EXPECT_LE(layout.clicks.size(), 246u);
    EXPECT_GE(layout.clicks.size(), 200u);
}

TEST(TimelineStripLayout, APendingCutReachesToThePlayheadBehindIt) {
    EXPECT_EQ(layOutTimelineStrip({10, {}, {}, {}, 2.0, 6}, 100, 0).pendingCut, (Span{20, 60}));
    EXPECT_EQ(layOutTimelineStrip({10, {}, {}, {}, 6.0, 2}, 100, 0).pendingCut, (Span{60, 63}));
}

TEST(TimelineStripLayout, ARecordingWithoutLengthIsHarmless) {
    const std::vector<model::PointerSample> clicks = {pressAt(0)};
    const auto layout = layOutTimelineStrip({0, {}, {}, clicks, {}, 0}, 0, 10);
    EXPECT_EQ(layout.playhead, 10);
    EXPECT_EQ(timelineSecondsAt(5, 0, 0, 10), 0);
}

TEST(TimelineStripLayout, PositionsAreTimes) {
    EXPECT_EQ(timelineSecondsAt(60, 10, 120, 10), 5);
    EXPECT_EQ(timelineSecondsAt(-5, 10, 120, 10), 0);
    EXPECT_EQ(timelineSecondsAt(500, 10, 120, 10), 10);
}

}  // namespace
}  // namespace lumivastor::editor
