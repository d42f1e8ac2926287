// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/device_clock.h"

#include <gtest/gtest.h>

#include "base/host_clock.h"

namespace lumivastor::platform {
namespace {

constexpr ClockReading at(double hostSeconds, double wallLessHost = 1.7e9) {
    return {hostSeconds, hostSeconds + wallLessHost};
}

TEST(DeviceClock, KeepsStampsOfTheHostClock) {
    DeviceClock clock;
    for (int i = 0; i < 100; ++i) {
        const double taken = 500 + i / 30.0;
        EXPECT_DOUBLE_EQ(clock.hostSeconds(taken, at(taken + 0.03)), taken);
    }
    EXPECT_EQ(clock.kind(), DeviceClock::Kind::host);
}

TEST(DeviceClock, MapsTheWallClockEvenWhenItIsSet) {
    DeviceClock clock;
    EXPECT_NEAR(clock.hostSeconds(500.0 + 1.7e9, at(500.03)), 500.0, 1e-6);
    EXPECT_EQ(clock.kind(), DeviceClock::Kind::wall);
    // An hour forward, device and all.
    EXPECT_NEAR(clock.hostSeconds(501.0 + 1.7e9 + 3600, at(501.03, 1.7e9 + 3600)), 501.0, 1e-6);
    // A stamp from before it was set tells nothing.
    EXPECT_EQ(clock.hostSeconds(502.0 + 1.7e9, at(502.03, 1.7e9 + 3600)), 502.03);
}

TEST(DeviceClock, AClockOfItsOwnRunsFromTheQuickestArrival) {
    DeviceClock clock;
    EXPECT_DOUBLE_EQ(clock.hostSeconds(0.0, at(700.05)), 700.05);
    EXPECT_DOUBLE_EQ(clock.hostSeconds(1.0, at(701.01)), 701.01);
    EXPECT_DOUBLE_EQ(clock.hostSeconds(2.0, at(702.04)), 702.01);
    EXPECT_EQ(clock.kind(), DeviceClock::Kind::own);
}

TEST(DeviceClock, ImpossibleStampsGiveWayToTheArrival) {
    DeviceClock clock;
    EXPECT_EQ(clock.hostSeconds(800.0, at(800.01)), 800.0);
    EXPECT_EQ(clock.hostSeconds(805.0, at(801.01)), 801.01) << "in the future";
    EXPECT_EQ(clock.hostSeconds(0.0, at(802.01)), 802.01) << "long ago";
    EXPECT_EQ(clock.hostSeconds(std::nullopt, at(803.01)), 803.01) << "none";
}

TEST(DeviceClock, ReadsBothClocks) {
    const double before = hostClockSeconds();
    const ClockReading now = ClockReading::now();
    EXPECT_GE(now.hostSeconds, before);
    EXPECT_GT(now.wallSeconds, 1.6e9);
}

}  // namespace
}  // namespace lumivastor::platform
