// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/smooth_clock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace lumivastor::platform {
namespace {

TEST(SmoothClock, TakesTheJitterOutOfADevicesClock) {
    std::mt19937 random(2);
    std::uniform_real_distribution<double> jitter(-0.02, 0.02);
    SmoothClock clock;
    double before = 0;
    // A device that runs a little fast.
    for (int i = 1; i < 6000; ++i) {
        const double host = i * 0.01;
        const double truth = 1.0003 * host;
        const double time = clock.at(host, truth + jitter(random));
        EXPECT_GE(time, before);
        if (i > 300) {
            EXPECT_NEAR(time, truth, 0.008) << host;
            EXPECT_NEAR(time - before, 0.01, 0.002) << host;
        }
        before = time;
    }
}

TEST(SmoothClock, FollowsWhatIsNoJitter) {
    SmoothClock clock;
    EXPECT_EQ(clock.at(100, 0), 0);
    EXPECT_EQ(clock.at(100.01, 0.5), 0.5);
    // A device that fell silent for a second: nothing runs backward, and what it says then counts.
    EXPECT_EQ(clock.at(101.01, 0.5), 0.5);
    EXPECT_NEAR(clock.at(101.02, 0.51), 0.51, 1e-9);
}

}  // namespace
}  // namespace lumivastor::platform
