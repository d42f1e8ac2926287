// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/input/event_pipe.h"

#include <gtest/gtest.h>
#include <linux/input.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace lumivastor::platform {
namespace {

std::vector<std::byte> record(int type, int code, int value, long microseconds = 2'500'000) {
    input_event event{};
    event.input_event_sec = microseconds / 1'000'000;
    event.input_event_usec = microseconds % 1'000'000;
    event.type = static_cast<std::uint16_t>(type);
    event.code = static_cast<std::uint16_t>(code);
    event.value = value;
    std::vector<std::byte> bytes(sizeof event);
    std::memcpy(bytes.data(), &event, sizeof event);
    return bytes;
}

// What a press, a motion, two wheels and a release become when they come in pieces of this size.
std::vector<DeviceEvent> decoded(std::size_t piece) {
    std::vector<std::byte> bytes;
    const std::vector<std::byte> records[] = {
        record(EV_MSC, MSC_SCAN, 0x90001), record(EV_KEY, BTN_LEFT, 1),
        record(EV_SYN, SYN_REPORT, 0),     record(EV_REL, REL_X, 5),
        record(EV_REL, REL_Y, -5),         record(EV_SYN, SYN_REPORT, 0),
        record(EV_REL, REL_WHEEL, -1),     record(EV_REL, REL_WHEEL_HI_RES, -120),
        record(EV_SYN, SYN_REPORT, 0),     record(EV_REL, REL_HWHEEL, 2),
        record(EV_SYN, SYN_REPORT, 0),     record(EV_KEY, BTN_LEFT, 0, 2'600'001)};
    for (const auto& each : records) bytes.insert(bytes.end(), each.begin(), each.end());
    KernelEventDecoder decoder;
    std::vector<DeviceEvent> events;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        decoder.decode(std::span(bytes).subspan(at, std::min(piece, bytes.size() - at)),
                       [&](const DeviceEvent& event) { events.push_back(event); });
    }
    return events;
}

TEST(KernelEventDecoder, KnowsButtonsAndWheels) {
    for (const std::size_t piece : {1u, 7u, 24u, 1000u}) {
        const auto events = decoded(piece);
        ASSERT_EQ(events.size(), 4u) << piece;
        EXPECT_EQ(events[0].code, static_cast<std::uint32_t>(BTN_LEFT));
        EXPECT_TRUE(events[0].isPressed);
        EXPECT_EQ(events[0].microseconds, 2'500'000u);
        EXPECT_EQ(events[1].kind, DeviceEvent::Kind::wheel);
        EXPECT_EQ(events[1].vertical, 120) << "down, and once only";
        EXPECT_EQ(events[2].horizontal, 240);
        EXPECT_EQ(events[2].vertical, 0);
        EXPECT_FALSE(events[3].isPressed);
        EXPECT_EQ(events[3].microseconds, 2'600'001u);
    }
}

TEST(EventPipe, IsMissedWhereThereIsNone) {
    const auto devices = openEventPipe("/nowhere/at/all");
    EXPECT_EQ(devices->why(), "Klicks lassen sich nicht sehen, weil „/nowhere/at/all“ nicht zu lesen ist.");
    EXPECT_EQ(devices->watch([](const RawPointerEvent&) {}), nullptr);
}

}  // namespace
}  // namespace lumivastor::platform
