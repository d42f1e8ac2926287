// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/input/libinput_devices.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace lumivastor::platform {
namespace {

int openDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
    return count;
}

int threads() {
    int count = 0;
    for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator("/proc/self/task")) ++count;
    return count;
}

// Whatever devices the machine has, or has not.
TEST(LibinputDevices, LeaveNothingOpenBehind) {
    const auto devices = openPointerDevices();
    const auto watchOnce = [&] { devices->watch([](const RawPointerEvent&) {}).reset(); };
    watchOnce();  // libraries keep some descriptors of their own
    const int descriptors = openDescriptors();
    const int running = threads();
    for (int i = 0; i < 20; ++i) watchOnce();
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(threads(), running);
}

TEST(LibinputDevices, ReadWhileTheyAreWatchedWhereThereIsNoDevice) {
    const auto devices = openPointerDevices();
    int events = 0;
    const auto actions = devices->watch([&](const RawPointerEvent&) { ++events; });
    ASSERT_TRUE(actions) << "a device may appear later";
    const auto why = devices->why();
    if (why) {
        EXPECT_TRUE(why->starts_with("Klicks lassen sich nicht sehen, weil ")) << *why;
        EXPECT_TRUE(why->ends_with(".")) << *why;
    }
    if (!std::filesystem::exists("/dev/input")) {
        EXPECT_EQ(why,
                  "Klicks lassen sich nicht sehen, weil an diesem Rechner weder Maus noch Touchpad zu finden ist.");
    }
}

}  // namespace
}  // namespace lumivastor::platform
