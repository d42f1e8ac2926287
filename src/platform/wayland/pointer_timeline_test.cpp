// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/pointer_timeline.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

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

TEST(PointerTimeline, MovesAreHeldFromTheTimeAtWhichActionsAreExpected) {
    PointerTimeline timeline;
    timeline.expectActions();
    timeline.moved(1.000, {10, 0});
    timeline.moved(1.010, {20, 0});
    EXPECT_TRUE(timeline.take(1.011).empty());
    timeline.acted(pressAt(1.005));
    const auto events = timeline.take(2);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[1].kind, Kind::press);
    EXPECT_EQ(*events[1].pixel, (Point{10, 0}));
}

TEST(PointerTimeline, PlacesEveryClickBesideSixtyPositionsASecond) {
    // Positions are known some milliseconds after their time; clicks at once.
    for (const double late : {0.0, 0.003, 0.011, 0.040}) {
        PointerTimeline timeline;
        timeline.expectActions();
        std::vector<double> times;
        std::vector<platform::RawPointerEvent> clicks;
        const auto take = [&](double now) {
            for (const auto& event : timeline.take(now)) {
                if (event.kind == Kind::press) clicks.push_back(event);
            }
        };
        int reported = 0;
        for (int millisecond = 0; millisecond < 3000; ++millisecond) {
            const double now = (millisecond + 0.5) / 1000;  // never the very time of a position
            if (millisecond >= 100 && millisecond < 2900 && millisecond % 37 == 0) {
                timeline.acted(pressAt(now));
                times.push_back(now);
            }
            for (; reported / 60.0 + late <= now; ++reported) {
                timeline.moved(reported / 60.0, {reported * 7.0, reported * 1.0});
            }
            take(now);
        }
        take(4);
        ASSERT_EQ(clicks.size(), times.size());
        for (std::size_t i = 0; i < clicks.size(); ++i) {
            const double position = std::floor(times[i] * 60);
            EXPECT_EQ(clicks[i].hostSeconds, times[i]);
            EXPECT_EQ(*clicks[i].pixel, (Point{position * 7, position})) << late << " s late, click " << i;
        }
    }
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
