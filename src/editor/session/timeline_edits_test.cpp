// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>

#include "edit/timeline.h"
#include "editor/session/cut_edits.h"
#include "editor/session/frame_time.h"
#include "editor/session/trim_edits.h"
#include "editor/session/zoom_edits.h"

// Dragging zooms, cuts and trim handles: the rules hold wherever the pointer goes.

namespace lumivastor::editor {
namespace {

constexpr RecordingLength kTen{10, 30};

model::ProjectSettings withZooms(std::vector<model::ZoomSpec> zooms) {
    model::ProjectSettings settings;
    settings.zooms = std::move(zooms);
    return settings;
}

// In another order than they have in time, as a document may hold them.
model::ProjectSettings threeZooms() {
    return withZooms({{6, 8, 2, {{6.7, 0.3, 0.3}}},
                      {1, 2, 2, {{1.7, 0.1, 0.1}}},
                      {3, 5, 2, {{3.7, 0.2, 0.2}, {4.2, 0.2, 0.2}, {4.8, 0.9, 0.9}}}});
}

bool isOnFrame(double t) {
    return std::abs(t * 30 - std::round(t * 30)) < 1e-9;
}

TEST(ZoomEdits, AZoomMovesWithItsFocusBetweenItsNeighbours) {
    const model::ProjectSettings before = threeZooms();
    for (double start = -3; start <= 13; start += 0.01) {
        const model::ProjectSettings after = withMovedZoom(before, 1, start, kTen);
        const model::ZoomSpec& moved = after.zooms->at(2);
        EXPECT_GE(moved.start, 2);
        EXPECT_LE(moved.end, 6 + 1e-12);
        EXPECT_NEAR(moved.end - moved.start, 2, 1e-12);
        EXPECT_TRUE(isOnFrame(moved.start)) << moved.start;
        ASSERT_EQ(moved.focus.size(), 3u);
        EXPECT_NEAR(moved.focus[0].t - moved.start, 0.7, 1e-12);
        EXPECT_NEAR(moved.focus[2].t - moved.start, 1.8, 1e-12);
        EXPECT_EQ(after.zooms->at(0), before.zooms->at(0));
        EXPECT_EQ(after.zooms->at(1), before.zooms->at(1));
    }
    EXPECT_EQ(withMovedZoom(before, 1, 2.5, kTen).zooms->at(2).start, 2.5);
    EXPECT_EQ(withMovedZoom(before, 0, -1, kTen).zooms->at(1).start, 0);
    EXPECT_EQ(withMovedZoom(before, 2, 20, kTen).zooms->at(0).end, 10);
}

TEST(ZoomEdits, TheStartMovesUpToTheLeastLength) {
    const model::ProjectSettings before = threeZooms();
    for (double start = -3; start <= 13; start += 0.01) {
        const model::ZoomSpec moved = withZoomStart(before, 1, start, kTen).zooms->at(2);
        EXPECT_GE(moved.start, 2);
        EXPECT_LE(moved.start, 5 - kLeastZoom + 1e-12);
        EXPECT_EQ(moved.end, 5);
        ASSERT_FALSE(moved.focus.empty());
        EXPECT_NEAR(moved.focus[0].t - moved.start, 0.7, 1e-12);
        for (std::size_t i = 1; i < moved.focus.size(); ++i) EXPECT_LT(moved.focus[i - 1].t, moved.focus[i].t);
        EXPECT_EQ(moved.focus.back().x, 0.9) << "the last focus is where it was";
    }
    // What the camera has passed at the new start is no focus any more.
    const model::ZoomSpec late = withZoomStart(before, 1, 3.6, kTen).zooms->at(2);
    ASSERT_EQ(late.focus.size(), 2u);
    EXPECT_EQ(late.focus[1], (model::FocusKey{4.8, 0.9, 0.9}));
    EXPECT_EQ(withZoomStart(before, 1, 4.5, kTen).zooms->at(2).focus.size(), 1u);
}

TEST(ZoomEdits, TheEndMovesAndTheFocusStays) {
    const model::ProjectSettings before = threeZooms();
    for (double end = -3; end <= 13; end += 0.01) {
        const model::ZoomSpec moved = withZoomEnd(before, 1, end, kTen).zooms->at(2);
        EXPECT_EQ(moved.start, 3);
        EXPECT_GE(moved.end, 3 + kLeastZoom);
        EXPECT_LE(moved.end, 6);
        EXPECT_EQ(moved.focus, before.zooms->at(2).focus);
    }
    EXPECT_EQ(withZoomEnd(before, 2, 50, kTen).zooms->at(0).end, 10);
}

TEST(ZoomEdits, ZoomsThatOverlapDoSoNoFurther) {
    // The second lies over the first, the last ends behind the recording.
    const model::ProjectSettings before =
        withZooms({{1, 4, 2, {{1.7, 0, 0}}}, {3, 5, 2, {{3.7, 0, 0}}}, {9, 12, 2, {{9.7, 0, 0}}}});
    EXPECT_EQ(withMovedZoom(before, 1, 2, kTen), before);
    EXPECT_EQ(withMovedZoom(before, 1, 4, kTen).zooms->at(1).start, 4);
    EXPECT_EQ(withZoomStart(before, 1, 1, kTen), before);
    EXPECT_EQ(withZoomStart(before, 0, 3.5, kTen).zooms->at(0).start, 3) << "their order stays";
    EXPECT_EQ(withZoomEnd(before, 0, 3, kTen).zooms->at(0).end, 3);
    EXPECT_EQ(withZoomEnd(before, 0, 4.5, kTen), before);
    EXPECT_EQ(withMovedZoom(before, 2, 9.5, kTen), before);
    EXPECT_EQ(withMovedZoom(before, 2, 8, kTen).zooms->at(2).end, 11);
}

TEST(ZoomEdits, AShorterZoomMayStayAsShortAsItIs) {
    const model::ProjectSettings before = withZooms({{1, 1.1, 2, {{1.7, 0, 0}}}});
    EXPECT_EQ(withZoomEnd(before, 0, 0, kTen), before);
    EXPECT_EQ(withZoomStart(before, 0, 3, kTen), before);
    EXPECT_EQ(withZoomEnd(before, 0, 2, kTen).zooms->at(0).end, 2);
}

TEST(ZoomEdits, WithoutSuchAZoomNothingChanges) {
    for (const int index : {-1, 3}) {
        EXPECT_EQ(withMovedZoom(threeZooms(), index, 5, kTen), threeZooms());
        EXPECT_EQ(withZoomStart(threeZooms(), index, 5, kTen), threeZooms());
        EXPECT_EQ(withZoomEnd(threeZooms(), index, 5, kTen), threeZooms());
    }
    EXPECT_EQ(withMovedZoom({}, 0, 5, kTen), model::ProjectSettings());
}

TEST(CutEdits, CutsMoveBetweenTheirNeighbours) {
    model::ProjectSettings before;
    before.cuts = {{1, 2}, {4, 5}, {7, 8}};
    for (double t = -3; t <= 13; t += 0.01) {
        const auto moved = withMovedCut(before, 1, t, kTen).cuts;
        EXPECT_GE(moved[1].start, 2);
        EXPECT_LE(moved[1].end, 7);
        EXPECT_NEAR(moved[1].end - moved[1].start, 1, 1e-12);
        const auto started = withCutStart(before, 1, t, kTen).cuts;
        EXPECT_GE(started[1].start, 2);
        EXPECT_LE(started[1].start, 5 - 1.0 / 30 + 1e-12);
        EXPECT_EQ(started[1].end, 5);
        const auto ended = withCutEnd(before, 1, t, kTen).cuts;
        EXPECT_GE(ended[1].end, 4 + 1.0 / 30 - 1e-12);
        EXPECT_LE(ended[1].end, 7);
        EXPECT_EQ(ended[1].start, 4);
        for (const auto& cuts : {moved, started, ended}) {
            EXPECT_EQ(cuts[0], before.cuts[0]);
            EXPECT_EQ(cuts[2], before.cuts[2]);
        }
    }
    EXPECT_EQ(withCutStart(before, 0, -5, kTen).cuts[0].start, 0);
    EXPECT_EQ(withCutEnd(before, 2, 50, kTen).cuts[2].end, 10);
}

TEST(CutEdits, CutsThatOverlapDoSoNoFurther) {
    model::ProjectSettings before;
    before.cuts = {{3, 6}, {2, 4}};
    EXPECT_EQ(withCutEnd(before, 1, 5, kTen), before);
    EXPECT_EQ(withCutEnd(before, 1, 2.5, kTen).cuts[1].end, 2.5);
    EXPECT_EQ(withMovedCut(before, 0, 2.5, kTen), before);
    EXPECT_EQ(withMovedCut(before, 0, 5, kTen).cuts[0], (model::CutRange{5, 8}));
}

TEST(CutEdits, OneCutIsRemoved) {
    model::ProjectSettings before;
    before.cuts = {{1, 2}, {4, 5}, {7, 8}};
    EXPECT_EQ(withoutCut(before, 1).cuts, (std::vector<model::CutRange>{{1, 2}, {7, 8}}));
    EXPECT_EQ(withoutCut(before, -1), before);
    EXPECT_EQ(withoutCut(before, 3), before);
    EXPECT_EQ(withMovedCut(before, 3, 1, kTen), before);
}

TEST(TrimEdits, HalfASecondStaysInTheVideo) {
    for (const double duration : {10.0, 10.013, 0.7, 0.3}) {
        const RecordingLength length{duration, 30};
        model::ProjectSettings middle;
        middle.trimStart = duration > 5 ? 3 : 0;
        middle.trimEnd = duration > 5 ? 7 : 0;
        const edit::TrimRange before = edit::effectiveTrim(middle, duration);
        for (double t = -1; t <= duration + 1; t += 0.01) {
            const edit::TrimRange started = edit::effectiveTrim(withTrimStart(middle, t, length), duration);
            EXPECT_EQ(started.end, before.end);
            EXPECT_GE(started.start, 0);
            EXPECT_LE(started.start, std::max(before.end - 0.5, 0.0));
            const edit::TrimRange ended = edit::effectiveTrim(withTrimEnd(middle, t, length), duration);
            EXPECT_EQ(ended.start, before.start) << t;
            EXPECT_GE(ended.end, std::min(before.start + 0.5, duration) - 1e-9) << t;
            EXPECT_LE(ended.end, duration);
        }
    }
}

TEST(TrimEdits, TheEndOfTheRecordingIsNoEnd) {
    model::ProjectSettings settings;
    settings.trimEnd = 7;
    EXPECT_EQ(withTrimEnd(settings, 10, kTen).trimEnd, 0);
    EXPECT_EQ(withTrimEnd(settings, 12, kTen).trimEnd, 0);
    EXPECT_EQ(withTrimEnd(settings, 9.95, kTen).trimEnd, nearestFrame(9.95, 30));
    EXPECT_EQ(withTrimEnd(settings, 9.9999, {10.005, 30}).trimEnd, 0) << "no frame is left behind";
}

TEST(TrimEdits, HandlesSnapToTheNearestFrame) {
    EXPECT_EQ(withTrimStart({}, 1.02, kTen).trimStart, 31.0 / 30);
    EXPECT_EQ(withTrimStart({}, 1.01, kTen).trimStart, 1);
    EXPECT_EQ(withTrimEnd({}, 5.01, kTen).trimEnd, 5);
}

}  // namespace
}  // namespace lumivastor::editor
