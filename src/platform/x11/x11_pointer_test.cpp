// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <chrono>
#include <mutex>

#include "base/host_clock.h"
#include "platform/x11/x11_desktop.h"
#include "support/await.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_window.h"
#include "support/desktop_rig/scripted_pointer.h"
#include "support/running_threads.h"

namespace lumivastor::x11 {
namespace {

using Type = platform::PointerEventType;

// The server cuts its times to milliseconds, of a clock that may be a millisecond behind.
constexpr double kServerGrain = 0.0025;

class Collector {
  public:
    platform::PointerEventHandler handler() {
        return [this](const platform::PointerEvent& event) {
            const std::lock_guard hold(lock_);
            events_.push_back(event);
        };
    }
    std::vector<platform::PointerEvent> events() const {
        const std::lock_guard hold(lock_);
        return events_;
    }
    bool waitForCount(std::size_t count) const {
        return await([&] { return events().size() >= count; });
    }

  private:
    mutable std::mutex lock_;
    std::vector<platform::PointerEvent> events_;  // guarded by lock_
};

struct Expected {
    Type type;
    double x, y;
    double notchesX = 0, notchesY = 0;
    double before = 0, after = 0;  // host clock around the request
};

void expectEvents(const std::vector<platform::PointerEvent>& events, const std::vector<Expected>& expected) {
    ASSERT_EQ(events.size(), expected.size());
    for (std::size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].type, expected[i].type) << i;
        EXPECT_NEAR(events[i].location.x, expected[i].x, 0.5) << i;
        EXPECT_NEAR(events[i].location.y, expected[i].y, 0.5) << i;
        EXPECT_EQ(events[i].scrollingDeltaX, expected[i].notchesX) << i;
        EXPECT_EQ(events[i].scrollingDeltaY, expected[i].notchesY) << i;
        // The event lies between the moments before and after the server did it, on its own clock.
        EXPECT_GE(events[i].hostSeconds, expected[i].before - kServerGrain) << i;
        EXPECT_LE(events[i].hostSeconds, expected[i].after + kServerGrain) << i;
    }
}

// Does what the script says and notes what should be seen of it.
class Script {
  public:
    explicit Script(const DesktopRig& rig) : pointer_(rig.displayName()) {}

    ScriptedPointer& pointer() { return pointer_; }
    void move(int x, int y, Type type = Type::mouseMoved) {
        x_ = x;
        y_ = y;
        note(type, pointer_.moveTo(x, y));
    }
    void press(int button, Type type) { note(type, pointer_.press(button)); }
    void release(int button, Type type) { note(type, pointer_.release(button)); }
    void wheel(int button, double notchesX, double notchesY) {
        note(Type::scrollWheel, pointer_.click(button), notchesX, notchesY);
    }
    const std::vector<Expected>& expected() const { return expected_; }

  private:
    void note(Type type, double before, double notchesX = 0, double notchesY = 0) {
        expected_.push_back(
            {type, static_cast<double>(x_), static_cast<double>(y_), notchesX, notchesY, before, hostClockSeconds()});
    }

    ScriptedPointer pointer_;
    int x_ = 0, y_ = 0;
    std::vector<Expected> expected_;
};

TEST(X11Pointer, TellsClicksDragsScrollsAndMovesAsTheyHappened) {
    DesktopRig rig({1280, 800, true});
    const RigWindow window(rig.displayName(), {.x = 100, .y = 100, .width = 600, .height = 400});
    ScriptedPointer(rig.displayName()).moveTo(3, 3);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    Collector collector;
    const auto monitor = desktop->monitorPointer({}, collector.handler());
    ASSERT_NE(monitor, nullptr);
    Script script(rig);
    script.move(20, 700);
    for (int i = 0; i < 40; ++i) script.move(300 + 3 * i, 200 + 2 * i);
    script.press(1, Type::leftMouseDown);
    script.release(1, Type::leftMouseUp);
    script.press(3, Type::rightMouseDown);
    script.release(3, Type::rightMouseUp);
    script.press(2, Type::otherMouseDown);
    script.move(310, 210, Type::otherMouseDragged);
    script.release(2, Type::otherMouseUp);
    script.press(1, Type::leftMouseDown);
    for (int i = 0; i < 20; ++i) script.move(320 + 4 * i, 240, Type::leftMouseDragged);
    script.release(1, Type::leftMouseUp);
    script.wheel(4, 0, 1);
    script.wheel(5, 0, -1);
    script.wheel(6, 1, 0);
    script.wheel(7, -1, 0);
    script.move(1200, 780);
    script.wheel(5, 0, -1);
    script.press(8, Type::otherMouseDown);
    script.release(8, Type::otherMouseUp);
    ASSERT_TRUE(collector.waitForCount(script.expected().size()));
    expectEvents(collector.events(), script.expected());
}

TEST(X11Pointer, TellsPositionsInTheSpaceThatWasAskedFor) {
    DesktopRig rig({2000, 900});
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        const platform::PointSpace space{{1200, 100}, scale};
        const auto desktop = openX11Desktop(nullptr, rig.displayName());
        ScriptedPointer pointer(rig.displayName());
        pointer.moveTo(1, 1);
        Collector collector;
        const auto monitor = desktop->monitorPointer(space, collector.handler());
        ASSERT_NE(monitor, nullptr);
        pointer.moveTo(1501, 403);
        ASSERT_TRUE(collector.waitForCount(1));
        EXPECT_EQ(collector.events().back().location, space.pointFromPixel({1501, 403}));
        EXPECT_EQ(desktop->pointerLocation(space), space.pointFromPixel({1501, 403}));
    }
}

TEST(X11Pointer, AppliesTheUsersButtonMappingAlsoWhenItChanges) {
    DesktopRig rig;
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    Collector collector;
    const auto monitor = desktop->monitorPointer({}, collector.handler());
    ASSERT_NE(monitor, nullptr);
    ScriptedPointer pointer(rig.displayName());
    pointer.click(1);
    ASSERT_TRUE(collector.waitForCount(2));
    std::string mapping = "\x03\x02\x01";
    for (char button = 4; button <= 10; ++button) mapping += button;
    pointer.setMapping(mapping);
    // The change reaches the monitor over another connection than the events that follow.
    ASSERT_TRUE(await([&] {
        const std::size_t before = collector.events().size();
        pointer.click(1);
        return collector.waitForCount(before + 2) && collector.events().back().type == Type::rightMouseUp;
    }));
    const std::size_t before = collector.events().size();
    pointer.click(3);
    ASSERT_TRUE(collector.waitForCount(before + 2));
    std::vector<Type> types;
    for (const platform::PointerEvent& event : collector.events()) types.push_back(event.type);
    types.erase(types.begin(), types.end() - 4);
    EXPECT_EQ(types, (std::vector{Type::rightMouseDown, Type::rightMouseUp, Type::leftMouseDown, Type::leftMouseUp}));
}

TEST(X11Pointer, KnowsAButtonThatWasHeldBeforeItBegan) {
    DesktopRig rig;
    ScriptedPointer pointer(rig.displayName());
    pointer.moveTo(50, 50);
    pointer.press(1);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    Collector collector;
    const auto monitor = desktop->monitorPointer({}, collector.handler());
    ASSERT_NE(monitor, nullptr);
    pointer.moveTo(60, 50);
    pointer.release(1);
    pointer.moveTo(70, 50);
    ASSERT_TRUE(collector.waitForCount(3));
    EXPECT_EQ(collector.events()[0].type, Type::leftMouseDragged);
    EXPECT_EQ(collector.events()[1].type, Type::leftMouseUp);
    EXPECT_EQ(collector.events()[2].type, Type::mouseMoved);
}

TEST(X11Pointer, TellsNothingAfterItWasDestroyed) {
    DesktopRig rig;
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    ScriptedPointer pointer(rig.displayName());
    Collector collector;
    for (int round = 0; round < 5; ++round) {
        auto monitor = desktop->monitorPointer({}, collector.handler());
        ASSERT_NE(monitor, nullptr);
        pointer.moveTo(100 + round, 100);
        ASSERT_TRUE(collector.waitForCount(static_cast<std::size_t>(round) + 1));
        monitor.reset();
        pointer.moveTo(200 + round, 100);
    }
    EXPECT_EQ(collector.events().size(), 5U);
}

TEST(X11Pointer, SurvivesTheServersDeath) {
    DesktopRig rig;
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    Collector collector;
    auto monitor = desktop->monitorPointer({}, collector.handler());
    ASSERT_NE(monitor, nullptr);
    ASSERT_TRUE(await([] { return runningThreads("x11.pointer") == 1; }));
    rig.killServer();
    EXPECT_TRUE(await([] { return runningThreads("x11.pointer") == 0; })) << "it spins on a dead connection";
    EXPECT_TRUE(collector.events().empty());
    monitor.reset();
}

TEST(X11Cursor, IsTheShapeThatAProgramSet) {
    DesktopRig rig;
    RigWindow window(rig.displayName(), {.x = 100, .y = 100});
    window.setCursor(17, 23, 4, 6, 0x80402010);
    ScriptedPointer pointer(rig.displayName());
    pointer.moveTo(150, 150);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const auto cursor = desktop->currentCursor(std::nullopt);
    ASSERT_TRUE(cursor);
    EXPECT_EQ(cursor->image.width(), 17);
    EXPECT_EQ(cursor->image.height(), 23);
    EXPECT_EQ(cursor->hotspotX, 4);
    EXPECT_EQ(cursor->hotspotY, 6);
    const std::uint8_t* pixel = cursor->image.pixel(16, 22);
    EXPECT_EQ((std::vector<int>{pixel[0], pixel[1], pixel[2], pixel[3]}), (std::vector<int>{0x10, 0x20, 0x40, 0x80}));

    const auto known = desktop->currentCursor(cursor->serial);
    ASSERT_TRUE(known);
    EXPECT_EQ(known->serial, cursor->serial);
    EXPECT_TRUE(known->image.isEmpty());

    window.setCursor(8, 8, 0, 0, 0xff00ff00);
    const auto other = desktop->currentCursor(cursor->serial);
    ASSERT_TRUE(other);
    EXPECT_NE(other->serial, cursor->serial);
    EXPECT_EQ(other->image.width(), 8);
}

TEST(X11Cursor, OfAServerThatDiedIsAnErrorAndNotHidden) {
    DesktopRig rig;
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    EXPECT_NO_THROW(desktop->currentCursor(std::nullopt));
    rig.killServer();
    EXPECT_TRUE(await([&] {
        try {
            desktop->currentCursor(std::nullopt);
            return false;
        } catch (const RecorderError& error) {
            return error.message() == "Die Verbindung zum Bildschirm ist abgerissen.";
        }
    }));
    EXPECT_THROW(desktop->currentCursor(1), RecorderError);
}

TEST(X11Cursor, IsNothingWhileItIsInvisible) {
    DesktopRig rig;
    RigWindow window(rig.displayName(), {.x = 100, .y = 100});
    ScriptedPointer pointer(rig.displayName());
    pointer.moveTo(150, 150);
    window.setCursor(16, 16, 0, 0, 0);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    EXPECT_FALSE(desktop->currentCursor(std::nullopt).has_value());
    window.setCursor(16, 16, 0, 0, 0xff000000);
    EXPECT_TRUE(desktop->currentCursor(std::nullopt).has_value());
}

}  // namespace
}  // namespace lumivastor::x11
