// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/server_time.h"

#include <gtest/gtest.h>

namespace lumivastor::x11 {
namespace {

std::uint32_t shown(double seconds) {
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(seconds * 1000));
}

TEST(ServerTime, IsTheHostClockWhereBothAgree) {
    const ServerTime time(shown(1000.0004), 1000.0, 1000.001);
    EXPECT_EQ(time.offset(), 0);
    EXPECT_NEAR(time.hostSeconds(shown(1000.250), 1000.3), 1000.250, 1e-6);
}

TEST(ServerTime, GoesOnAfterThirtyTwoBits) {
    for (const int rounds : {0, 1, 2, 40}) {
        const double edge = rounds * 4294967.296;
        const ServerTime time(shown(edge + 100), edge + 100, edge + 100);
        EXPECT_EQ(time.offset(), 0);
        const double next = edge + 4294967.296;
        EXPECT_NEAR(time.hostSeconds(shown(next - 0.005), next + 0.01), next - 0.005, 0.0011);
        EXPECT_NEAR(time.hostSeconds(shown(next + 0.005), next + 0.01), next + 0.005, 0.0011);
    }
}

TEST(ServerTime, MeasuresHowFarAnotherClockIsOff) {
    const ServerTime time(shown(5000), 99.9, 100.1);
    EXPECT_NEAR(time.offset(), 4900, 1e-6);
    EXPECT_NEAR(time.hostSeconds(shown(5003), 103.5), 103, 1e-6);
}

TEST(ServerTime, NeverLiesInTheFuture) {
    const ServerTime time(shown(100), 100, 100);
    EXPECT_EQ(time.hostSeconds(shown(100.5), 100.4), 100.4);
}

}  // namespace
}  // namespace lumivastor::x11
