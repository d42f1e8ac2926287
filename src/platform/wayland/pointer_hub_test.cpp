// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/pointer_hub.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/host_clock.h"

namespace lumivastor::wayland {
namespace {

using pipewire::CursorReport;
using platform::PointerEvent;
using platform::PointerEventType;

CursorReport at(int x, int y, double hostSeconds) {
    CursorReport report;
    report.state = CursorReport::State::visible;
    report.x = x;
    report.y = y;
    report.hostSeconds = hostSeconds;
    return report;
}

CursorReport withShape(int edge) {
    CursorReport report = at(0, 0, hostClockSeconds());
    report.newShape = std::make_shared<const imaging::BgraPremultipliedBuffer>(edge, edge);
    report.hotSpotX = 3;
    report.hotSpotY = 4;
    return report;
}

TEST(PointerHub, GivesPositionsInTheDesktopsPoints) {
    PointerHub hub;
    hub.setOrigin({1920, 0});
    EXPECT_FALSE(hub.location());
    std::vector<PointerEvent> events;
    {
        const auto monitor = hub.monitor({{1920, 0}, 2}, [&](const PointerEvent& event) { events.push_back(event); });
        hub.report(at(100, 50, hostClockSeconds()));
        hub.report(at(100, 50, hostClockSeconds()));
        hub.report(at(120, 50, hostClockSeconds()));
    }
    hub.report(at(200, 50, hostClockSeconds()));
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].type, PointerEventType::mouseMoved);
    EXPECT_EQ(events[0].location, (Point{1970, 25}));
    EXPECT_EQ(events[1].location, (Point{1980, 25}));
    EXPECT_EQ(*hub.location(), (Point{2120, 50}));
}

TEST(PointerHub, PlacesClicksAndDrags) {
    PointerHub hub;
    std::vector<PointerEvent> events;
    const double now = hostClockSeconds() - 1;
    {
        const auto monitor = hub.monitor({{0, 0}, 1}, [&](const PointerEvent& event) { events.push_back(event); });
        platform::RawPointerEvent press;
        press.kind = platform::RawPointerEvent::Kind::press;
        press.button = 1;
        press.hostSeconds = now + 0.010;
        hub.report(at(10, 10, now));
        hub.act(press);
        hub.report(at(20, 10, now + 0.020));
        hub.handOn(now + 1);
    }
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[1].type, PointerEventType::leftMouseDown);
    EXPECT_EQ(events[1].location, (Point{10, 10}));
    EXPECT_EQ(events[1].hostSeconds, now + 0.010);
    EXPECT_EQ(events[2].type, PointerEventType::leftMouseDragged);
}

TEST(PointerHub, KeepsTheShapeAndItsHotSpot) {
    PointerHub hub;
    EXPECT_FALSE(hub.cursor({}));
    hub.report(withShape(24));
    const auto first = hub.cursor({});
    ASSERT_TRUE(first);
    EXPECT_EQ(first->image.width(), 24);
    EXPECT_EQ(first->hotspotX, 3);
    EXPECT_EQ(first->hotspotY, 4);
    const auto known = hub.cursor(first->serial);
    ASSERT_TRUE(known);
    EXPECT_TRUE(known->image.isEmpty());
    hub.report(withShape(32));
    const auto second = hub.cursor(first->serial);
    ASSERT_TRUE(second);
    EXPECT_NE(second->serial, first->serial);
    EXPECT_EQ(second->image.width(), 32);
}

TEST(PointerHub, AHiddenPointerHasNoShapeAndOneElsewhereNoPlace) {
    PointerHub hub;
    hub.report(withShape(24));
    CursorReport hidden = at(5, 6, hostClockSeconds());
    hidden.state = CursorReport::State::hidden;
    hub.report(hidden);
    EXPECT_FALSE(hub.cursor({}));
    EXPECT_EQ(*hub.location(), (Point{5, 6}));
    hub.report({});
    EXPECT_FALSE(hub.location());
    hub.report(at(7, 8, hostClockSeconds()));
    EXPECT_EQ(hub.cursor({})->image.width(), 24);
}

}  // namespace
}  // namespace lumivastor::wayland
