// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/pointer_timeline.h"

#include <gtest/gtest.h>

namespace lumivastor::wayland {
namespace {

using Kind = platform::RawPointerEvent::Kind;

platform::RawPointerEvent pressAt(double hostSeconds) {
    platform::RawPointerEvent event;
    event.kind = Kind::press;
    event.button = 1;
    event.hostSeconds = hostSeconds;
    return event;
}

TEST(PointerTimeline, WithoutDevicesMovesAreNotHeld) {
    PointerTimeline timeline;
    timeline.moved(1, {10, 20});
    const auto events = timeline.take(1);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].kind, Kind::motion);
    EXPECT_EQ(*events[0].pixel, (Point{10, 20}));
    EXPECT_EQ(*timeline.position(), (Point{10, 20}));
}

TEST(PointerTimeline, APressIsPlacedByTheLatestPositionBeforeItThoughThatArrivesLater) {
    PointerTimeline timeline;
    timeline.moved(1.000, {10, 0});
    timeline.acted(pressAt(1.020));
    timeline.moved(1.030, {30, 0});
    timeline.moved(1.015, {20, 0});  // late
    EXPECT_TRUE(timeline.take(1.020 + PointerTimeline::kHold - 0.0201).empty());
    const auto events = timeline.take(1.020 + PointerTimeline::kHold);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[2].kind, Kind::press);
    EXPECT_EQ(events[2].hostSeconds, 1.020);
    EXPECT_EQ(*events[2].pixel, (Point{20, 0}));
    const auto later = timeline.take(2);
    ASSERT_EQ(later.size(), 1u);
    EXPECT_EQ(*later[0].pixel, (Point{30, 0}));
}

TEST(PointerTimeline, APressFollowsAMoveOfTheSameTime) {
    PointerTimeline timeline;
    timeline.acted(pressAt(1));
    timeline.moved(1, {5, 5});
    timeline.acted(pressAt(1));
    const auto events = timeline.take(2);
    // The first press came before any position.
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].kind, Kind::motion);
    EXPECT_EQ(events[1].kind, Kind::press);
    EXPECT_EQ(*events[1].pixel, (Point{5, 5}));
}

TEST(PointerTimeline, KeepsThePositionBetweenCalls) {
    PointerTimeline timeline;
    timeline.moved(1, {5, 5});
    EXPECT_EQ(timeline.take(2).size(), 1u);
    timeline.acted(pressAt(3));
    const auto events = timeline.take(4);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(*events[0].pixel, (Point{5, 5}));
}

}  // namespace
}  // namespace lumivastor::wayland
