// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/input/pointer_interpreter.h"

#include <gtest/gtest.h>

namespace lumivastor::platform {
namespace {

using Kind = RawPointerEvent::Kind;
using Type = PointerEventType;

std::optional<Type> typeOf(PointerInterpreter& interpreter, Kind kind, int button, Point pixel) {
    const auto event = interpreter.interpret({kind, 0, button, pixel});
    return event ? std::optional(event->type) : std::nullopt;
}

TEST(PointerInterpreter, TellsButtonsApart) {
    PointerInterpreter interpreter{PointSpace{}};
    const Point here{5, 5};
    EXPECT_EQ(typeOf(interpreter, Kind::press, 1, here), Type::leftMouseDown);
    EXPECT_EQ(typeOf(interpreter, Kind::release, 1, here), Type::leftMouseUp);
    EXPECT_EQ(typeOf(interpreter, Kind::press, 3, here), Type::rightMouseDown);
    EXPECT_EQ(typeOf(interpreter, Kind::release, 3, here), Type::rightMouseUp);
    for (const int other : {2, 8, 9}) {
        EXPECT_EQ(typeOf(interpreter, Kind::press, other, here), Type::otherMouseDown);
        EXPECT_EQ(typeOf(interpreter, Kind::release, other, here), Type::otherMouseUp);
    }
    for (const int wheel : {4, 5, 6, 7}) EXPECT_EQ(typeOf(interpreter, Kind::press, wheel, here), std::nullopt);
}

TEST(PointerInterpreter, MotionDragsWithTheButtonThatWasPressedFirst) {
    PointerInterpreter interpreter{PointSpace{}};
    double x = 0;
    const auto move = [&] { return typeOf(interpreter, Kind::motion, 0, {++x, 0}); };
    EXPECT_EQ(move(), Type::mouseMoved);
    typeOf(interpreter, Kind::press, 3, {x, 0});
    EXPECT_EQ(move(), Type::rightMouseDragged);
    typeOf(interpreter, Kind::press, 1, {x, 0});
    EXPECT_EQ(move(), Type::rightMouseDragged);
    typeOf(interpreter, Kind::release, 3, {x, 0});
    EXPECT_EQ(move(), Type::leftMouseDragged);
    typeOf(interpreter, Kind::release, 1, {x, 0});
    EXPECT_EQ(move(), Type::mouseMoved);
    typeOf(interpreter, Kind::press, 2, {x, 0});
    EXPECT_EQ(move(), Type::otherMouseDragged);
}

TEST(PointerInterpreter, KnowsButtonsThatWereHeldBefore) {
    PointerInterpreter interpreter{PointSpace{}};
    const int held[] = {1};
    interpreter.begin({3, 3}, held);
    EXPECT_EQ(typeOf(interpreter, Kind::motion, 0, {4, 3}), Type::leftMouseDragged);
    EXPECT_EQ(typeOf(interpreter, Kind::release, 1, {4, 3}), Type::leftMouseUp);
    EXPECT_EQ(typeOf(interpreter, Kind::motion, 0, {5, 3}), Type::mouseMoved);
}

TEST(PointerInterpreter, AppliesTheButtonMapping) {
    PointerInterpreter interpreter{PointSpace{}};
    interpreter.setMapping({3, 2, 1, 5, 4, 0});
    EXPECT_EQ(typeOf(interpreter, Kind::press, 1, {}), Type::rightMouseDown);
    EXPECT_EQ(typeOf(interpreter, Kind::motion, 0, {9, 9}), Type::rightMouseDragged);
    EXPECT_EQ(typeOf(interpreter, Kind::release, 1, {}), Type::rightMouseUp);
    EXPECT_EQ(typeOf(interpreter, Kind::press, 3, {}), Type::leftMouseDown);
    EXPECT_EQ(typeOf(interpreter, Kind::press, 6, {}), std::nullopt);
    EXPECT_EQ(typeOf(interpreter, Kind::press, 9, {}), Type::otherMouseDown);
    const auto wheel = interpreter.wheelPress(4, 0);
    ASSERT_TRUE(wheel);
    EXPECT_EQ(wheel->notchesY, -1);
}

TEST(PointerInterpreter, ScrollsByNotchesWhereThePointerIs) {
    PointerInterpreter interpreter{{{100, 0}, 2}};
    interpreter.interpret({Kind::motion, 1, 0, Point{300, 50}});
    const double expected[][3] = {{4, 0, 1}, {5, 0, -1}, {6, 1, 0}, {7, -1, 0}};
    for (const auto& [button, x, y] : expected) {
        const auto raw = interpreter.wheelPress(static_cast<int>(button), 2);
        ASSERT_TRUE(raw);
        const auto event = interpreter.interpret(*raw);
        ASSERT_TRUE(event);
        EXPECT_EQ(event->type, Type::scrollWheel);
        EXPECT_EQ(event->hostSeconds, 2);
        EXPECT_EQ(event->location, (Point{200, 25}));
        EXPECT_EQ(event->scrollingDeltaX, x);
        EXPECT_EQ(event->scrollingDeltaY, y);
    }
    EXPECT_FALSE(interpreter.wheelPress(1, 0).has_value());
    EXPECT_FALSE(interpreter.interpret({Kind::scroll, 0, 0, {}}).has_value());
}

TEST(PointerInterpreter, LeavesOutMotionThatDoesNotMove) {
    PointerInterpreter interpreter{PointSpace{}};
    EXPECT_EQ(typeOf(interpreter, Kind::motion, 0, {1, 1}), Type::mouseMoved);
    EXPECT_EQ(typeOf(interpreter, Kind::motion, 0, {1, 1}), std::nullopt);
    EXPECT_EQ(typeOf(interpreter, Kind::motion, 0, {2, 1}), Type::mouseMoved);
}

}  // namespace
}  // namespace lumivastor::platform
