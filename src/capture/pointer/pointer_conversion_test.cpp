// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/pointer/pointer_conversion.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace lumivastor::capture {
namespace {

RawEvent move(double t, Point point = {}) {
    return {t, point, model::PointerKind::move, {}, {}, {}};
}

RawEvent press(double t, Point point = {}) {
    return {t, point, model::PointerKind::down, model::PointerButton::left, {}, {}};
}

// Two pixels a point, 1280 × 720 pixels, beginning at the global point (1010, 120).
model::Geometry regionGeometry() {
    model::Geometry geometry;
    geometry.displayBounds = {1000, 100, 2000, 1000};
    geometry.contentRect = {10, 20, 640, 360};
    geometry.pointPixelScale = 2;
    geometry.pixelSize = {1280, 720};
    return geometry;
}

TEST(RawEvents, EachTypeBecomesItsKindAndButton) {
    struct Case {
        platform::PointerEventType type;
        model::PointerKind kind;
        std::optional<model::PointerButton> button;
    };
    const std::vector<Case> cases = {
        {platform::PointerEventType::leftMouseDown, model::PointerKind::down, model::PointerButton::left},
        {platform::PointerEventType::leftMouseUp, model::PointerKind::up, model::PointerButton::left},
        {platform::PointerEventType::rightMouseDown, model::PointerKind::down, model::PointerButton::right},
        {platform::PointerEventType::rightMouseUp, model::PointerKind::up, model::PointerButton::right},
        {platform::PointerEventType::otherMouseDown, model::PointerKind::down, model::PointerButton::other},
        {platform::PointerEventType::otherMouseUp, model::PointerKind::up, model::PointerButton::other},
        {platform::PointerEventType::mouseMoved, model::PointerKind::move, std::nullopt},
        {platform::PointerEventType::leftMouseDragged, model::PointerKind::drag, model::PointerButton::left},
        {platform::PointerEventType::rightMouseDragged, model::PointerKind::drag, model::PointerButton::right},
        {platform::PointerEventType::otherMouseDragged, model::PointerKind::drag, model::PointerButton::other},
        {platform::PointerEventType::scrollWheel, model::PointerKind::scroll, std::nullopt},
    };
    for (const Case& each : cases) {
        const RawEvent raw = rawEvent({each.type, 12.5, {3, 4}, -1, 2});
        EXPECT_EQ(raw.t, 12.5);
        EXPECT_EQ(raw.point, (Point{3, 4}));
        EXPECT_EQ(raw.kind, each.kind);
        EXPECT_EQ(raw.button, each.button);
        const bool scrolls = each.kind == model::PointerKind::scroll;
        EXPECT_EQ(raw.dx, scrolls ? std::optional(-1.0) : std::nullopt);
        EXPECT_EQ(raw.dy, scrolls ? std::optional(2.0) : std::nullopt);
    }
}

TEST(ClickCutoff, LiesASecondBeforeTheLatestEvent) {
    EXPECT_EQ(clickCutoff({}), -1);
    EXPECT_EQ(clickCutoff({move(5)}), 4);
    // Events of several threads may come out of order.
    EXPECT_EQ(clickCutoff({move(5), move(9), move(7)}), 8);
}

TEST(PointerTrackConversion, EventsInTheLastSecondAreDroppedUnlessTheyAreMoves) {
    RawPointerTrack raw;
    raw.events = {press(9.5), press(10), move(10.5), press(10.5), {10.6, {}, model::PointerKind::scroll, {}, 1, 1},
                  move(11)};
    const model::PointerTrack track = pointerTrack(raw, 0, {}, std::nullopt);
    std::vector<double> times;
    for (const model::PointerSample& each : track.events) times.push_back(each.t);
    // The press exactly at the cutoff stays.
    EXPECT_EQ(times, (std::vector<double>{9.5, 10, 10.5, 11}));
    EXPECT_EQ(track.events[2].kind, model::PointerKind::move);
}

TEST(PointerTrackConversion, PositionsBecomePixelsAndFractionsOfWhatWasCaptured) {
    RawPointerTrack raw;
    raw.events = {move(4, {1010, 120}), press(4.5, {1330, 300}), move(9, {1000, 100})};
    const model::PointerTrack track = pointerTrack(raw, 5, regionGeometry(), std::nullopt);
    ASSERT_EQ(track.events.size(), 3u);
    EXPECT_EQ(track.events[0], (model::PointerSample{-1, 0, 0, 0, 0, model::PointerKind::move, {}, {}, {}}));
    EXPECT_EQ(
        track.events[1],
        (model::PointerSample{-0.5, 640, 360, 0.5, 0.5, model::PointerKind::down, model::PointerButton::left, {}, {}}));
    EXPECT_EQ(track.events[2].px, -20);
    EXPECT_EQ(track.events[2].py, -40);
    EXPECT_FALSE(track.windowFrames.has_value());
}

TEST(PointerTrackConversion, PositionsFollowTheWindow) {
    const WindowTrack window = {{10, {1100, 200, 640, 360}}, {20, {1200, 300, 640, 360}}};
    RawPointerTrack raw;
    raw.events = {move(5, {1100, 200}), move(19.9, {1200, 300}), move(20, {1200, 300}), move(30, {1210, 320})};
    const model::PointerTrack track = pointerTrack(raw, 10, regionGeometry(), window);
    ASSERT_EQ(track.events.size(), 4u);
    EXPECT_EQ(track.events[0].px, 0);
    EXPECT_EQ(track.events[1].px, 200);
    EXPECT_EQ(track.events[1].py, 200);
    EXPECT_EQ(track.events[2].px, 0);
    EXPECT_EQ(track.events[3].px, 20);
    EXPECT_EQ(track.events[3].py, 40);
    EXPECT_EQ(track.events[3].nx, 20.0 / 1280);
    ASSERT_TRUE(track.windowFrames.has_value());
    EXPECT_EQ(*track.windowFrames,
              (std::vector<model::WindowFrameSample>{{0, 1100, 200, 640, 360}, {10, 1200, 300, 640, 360}}));
}

TEST(PointerTrackConversion, PositionsFollowADisplayThatMoves) {
    // The pointer stays at the same place of the display, which moves by 400 points to the right and back by 100.
    const DisplayTrack display = {{10, {1400, 100}}, {20, {1300, 90}}};
    RawPointerTrack raw;
    raw.events = {move(9.9, {1030, 130}), move(10, {1430, 130}), move(19.9, {1430, 130}), move(20, {1330, 120}),
                  move(25, {1330, 120})};
    const model::PointerTrack track = pointerTrack(raw, 0, regionGeometry(), std::nullopt, display);
    ASSERT_EQ(track.events.size(), 5u);
    for (const model::PointerSample& each : track.events) {
        EXPECT_EQ(each.px, 40) << each.t;
        EXPECT_EQ(each.py, 20) << each.t;
        EXPECT_EQ(each.nx, 40.0 / 1280);
    }
    // Windows move by themselves: their frames are in the same points as the events.
    const WindowTrack window = {{0, {1000, 100, 640, 360}}};
    EXPECT_EQ(pointerTrack(raw, 0, regionGeometry(), window, display).events[1].px, 860);
}

TEST(DisplayOriginAt, IsTheLastSampleAtOrBeforeTheTime) {
    EXPECT_EQ(displayOriginAt({}, 5, {1, 2}), (Point{1, 2}));
    const DisplayTrack track = {{10, {3, 4}}, {20, {5, 6}}};
    EXPECT_EQ(displayOriginAt(track, 9.999, {1, 2}), (Point{1, 2}));
    EXPECT_EQ(displayOriginAt(track, 10, {1, 2}), (Point{3, 4}));
    EXPECT_EQ(displayOriginAt(track, 19.999, {1, 2}), (Point{3, 4}));
    EXPECT_EQ(displayOriginAt(track, 1e9, {1, 2}), (Point{5, 6}));
}

TEST(PointerTrackConversion, AnEmptyWindowTrackIsWrittenButPositionsComeFromTheGeometry) {
    RawPointerTrack raw;
    raw.events = {move(5, {1330, 300})};
    const model::PointerTrack track = pointerTrack(raw, 5, regionGeometry(), WindowTrack{});
    EXPECT_EQ(track.events[0].px, 640);
    ASSERT_TRUE(track.windowFrames.has_value());
    EXPECT_TRUE(track.windowFrames->empty());
}

TEST(PointerTrackConversion, EventsAndChangesAreSortedAndEqualTimesKeepTheirOrder) {
    RawPointerTrack raw;
    raw.events = {move(3, {1, 0}), move(1, {2, 0}), move(3, {3, 0}), move(2, {4, 0}), move(1, {5, 0})};
    raw.cursorChanges = {{2, "c1"}, {1, "c0"}, {2, "c2"}};
    model::Geometry geometry;
    geometry.pixelSize = {10, 10};
    const model::PointerTrack track = pointerTrack(raw, 0, geometry, std::nullopt);
    std::vector<double> xs;
    for (const model::PointerSample& each : track.events) xs.push_back(each.px);
    EXPECT_EQ(xs, (std::vector<double>{2, 5, 4, 1, 3}));
    EXPECT_EQ(track.cursorChanges, (std::vector<model::CursorChange>{{1, "c0"}, {2, "c1"}, {2, "c2"}}));
}

TEST(PointerTrackConversion, ShapesAreSortedAsPlainText) {
    RawPointerTrack raw;
    for (const char* id : {"hidden", "c2", "c10", "c0", "c1"}) raw.cursorImages.emplace_back().id = id;
    const model::PointerTrack track = pointerTrack(raw, 0, {}, std::nullopt);
    std::vector<std::string> ids;
    for (const model::CursorImage& each : track.cursorImages) ids.push_back(each.id);
    EXPECT_EQ(ids, (std::vector<std::string>{"c0", "c1", "c10", "c2", "hidden"}));
}

TEST(PointerTrackConversion, WithoutPictureAreaFractionsAreZero) {
    RawPointerTrack raw;
    raw.events = {move(1, {30, 40})};
    const model::PointerTrack track = pointerTrack(raw, 0, {}, std::nullopt);
    EXPECT_EQ(track.events[0].px, 30);
    EXPECT_EQ(track.events[0].nx, 0);
    EXPECT_EQ(track.events[0].ny, 0);
}

TEST(WindowFrameAt, IsTheLastSampleAtOrBeforeTheTime) {
    EXPECT_EQ(windowFrameAt({}, 1), nullptr);
    WindowTrack track;
    for (int i = 0; i < 50; ++i) track.push_back({i * 2.0, {static_cast<double>(i), 0, 1, 1}});
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(windowFrameAt(track, i * 2.0)->x, i);
        EXPECT_EQ(windowFrameAt(track, i * 2.0 + 1.999)->x, i);
    }
    EXPECT_EQ(windowFrameAt(track, -100)->x, 0);
    EXPECT_EQ(windowFrameAt(track, 1e9)->x, 49);
}

// 10 to 20; movie times behind it are ten seconds less.
Pauses paused(bool isByPointer = false) {
    Pauses pauses;
    pauses.begin(10, isByPointer);
    pauses.end(20);
    return pauses;
}

RawEvent move(double t, double x) {
    return {t, {x, 0}, model::PointerKind::move, {}, {}, {}};
}
RawEvent press(double t, double x) {
    return {t, {x, 0}, model::PointerKind::down, model::PointerButton::left, {}, {}};
}

std::vector<std::pair<double, double>> placesOf(const model::PointerTrack& track) {
    std::vector<std::pair<double, double>> places;
    for (const model::PointerSample& each : track.events) places.emplace_back(each.t, each.px);
    return places;
}

TEST(PausedPointer, JumpsToWhereItIsAfterwards) {
    RawPointerTrack raw;
    raw.events = {move(5, 1), press(12, 2), move(15, 3), move(18, 4), press(19, 4), move(25, 6), move(40, 7)};
    const model::PointerTrack track = pointerTrack(raw, 5, {}, std::nullopt, {}, paused());
    // It rests until the pause, instead of gliding; nothing of the pause is left but where it led.
    EXPECT_EQ(placesOf(track), (std::vector<std::pair<double, double>>{{0, 1}, {5, 1}, {5, 4}, {10, 6}, {25, 7}}));
    for (const model::PointerSample& each : track.events) EXPECT_EQ(each.kind, model::PointerKind::move);
}

TEST(PausedPointer, ThePressThatPausesIsNotRecorded) {
    RawPointerTrack raw;
    raw.events = {press(8.5, 1), press(9.5, 2), press(25, 3), move(40, 4)};
    EXPECT_EQ(pointerTrack(raw, 0, {}, std::nullopt, {}, paused(true)).events.size(), 3U);
    EXPECT_EQ(pointerTrack(raw, 0, {}, std::nullopt, {}, paused(false)).events.size(), 4U);
}

TEST(PausedPointer, NothingIsRecordedOfAPauseThatLasted) {
    RawPointerTrack raw;
    raw.events = {move(5, 1), move(12, 2), move(15, 3)};
    Pauses pauses;
    pauses.begin(10, false);
    EXPECT_EQ(pointerTrack(raw, 5, {}, std::nullopt, {}, pauses).events.size(), 1U);
}

TEST(PausedPointer, ShapesAndWindowsChangeWhereThePauseLies) {
    RawPointerTrack raw;
    raw.events = {move(5, 1)};
    raw.cursorChanges = {{5, "c0"}, {11, "c1"}, {19, "c2"}, {22, "c0"}};
    const WindowTrack window = {{5, {0, 0, 10, 10}}, {12, {1, 0, 10, 10}}, {13, {2, 0, 10, 10}}, {30, {3, 0, 10, 10}}};
    const model::PointerTrack track = pointerTrack(raw, 5, {}, window, {}, paused());
    EXPECT_EQ(track.cursorChanges, (std::vector<model::CursorChange>{{0, "c0"}, {5, "c2"}, {7, "c0"}}));
    ASSERT_EQ(track.windowFrames->size(), 3U);
    EXPECT_EQ(track.windowFrames->at(1).t, 5);
    EXPECT_EQ(track.windowFrames->at(1).x, 2);
    EXPECT_EQ(track.windowFrames->at(2).t, 15);
}

}  // namespace
}  // namespace lumivastor::capture
