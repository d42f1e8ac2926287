// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/clock_drift_estimator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace lumivastor::platform {
namespace {

TEST(ClockDriftEstimator, ExactArrivalsGiveTheExactLine) {
    for (const double drift : {-300e-6, 0.0, 300e-6}) {
        ClockDriftEstimator fit(48000, 0.0005);
        for (int i = 0; i <= 6000; ++i) fit.add(i * 480, 1000 + i * 0.01 * (1 + drift));
        EXPECT_NEAR(fit.drift(), drift, 2e-6);
        EXPECT_NEAR(fit.hostSeconds(6000 * 480), 1000 + 60 * (1 + drift), 2e-6);
        EXPECT_NEAR(fit.frame(fit.hostSeconds(123456.5)), 123456.5, 1e-3);
    }
}

TEST(ClockDriftEstimator, FindsTheLineThroughJitterOfTwentyMilliseconds) {
    for (const double drift : {-300e-6, 0.0, 300e-6}) {
        for (unsigned seed = 1; seed <= 5; ++seed) {
            std::mt19937 random(seed);
            std::uniform_real_distribution<double> jitter(-0.02, 0.02);
            ClockDriftEstimator fit(48000, 0.01);
            double worst = 0;
            for (int i = 0; i <= 60000; ++i) {
                const double truth = 1000 + i * 0.01 * (1 + drift);
                fit.add(i * 480, truth + jitter(random));
                // From the moment when some arrivals have been seen.
                if (i >= 50) worst = std::max(worst, std::abs(fit.hostSeconds(i * 480.0) - truth));
            }
            EXPECT_LT(worst, 0.006) << "drift " << drift << ", seed " << seed;
            EXPECT_NEAR(fit.drift(), drift, 40e-6);
        }
    }
}

TEST(ClockDriftEstimator, AStrayArrivalHardlyMovesTheLine) {
    ClockDriftEstimator fit(48000, 0.01);
    for (int i = 0; i < 1000; ++i) fit.add(i * 480, 5 + i * 0.01);
    const double before = fit.hostSeconds(480000);
    fit.add(480000, 15.8);
    EXPECT_NEAR(fit.hostSeconds(480000), before, 0.0005);
}

}  // namespace
}  // namespace lumivastor::platform
