// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/sound_level.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace lumivastor::platform {
namespace {

std::vector<float> sine(double amplitude) {
    std::vector<float> values(4800);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * static_cast<double>(i) / 48));
    }
    return values;
}

TEST(SoundLevels, AreRelativeToFullScale) {
    EXPECT_NEAR(decibels(1), 0, 1e-12);
    EXPECT_NEAR(decibels(0.5), -6.0206, 1e-4);
    EXPECT_EQ(decibels(0), kSilentLevel);
    EXPECT_EQ(decibels(1e-30), kSilentLevel);
    EXPECT_EQ(decibels(std::numeric_limits<double>::quiet_NaN()), kSilentLevel);
    for (const double amplitude : {1.0, 0.5, 0.01, 0.0001}) {
        const SoundLevel level = levelOf(sine(amplitude));
        EXPECT_NEAR(level.peak, decibels(amplitude), 0.01) << amplitude;
        EXPECT_NEAR(level.rms, decibels(amplitude) - 3.0103, 0.01) << amplitude;
        EXPECT_EQ(level.isClipped, amplitude == 1.0) << amplitude;
    }
    EXPECT_EQ(levelOf({}).peak, kSilentLevel);
    EXPECT_EQ(levelOf(std::vector<float>(100)).rms, kSilentLevel);
}

TEST(SoundLevels, OfBrokenSoundAreThoseOfTheRest) {
    std::vector<float> values = sine(0.5);
    values[7] = std::numeric_limits<float>::quiet_NaN();
    values[9] = std::numeric_limits<float>::infinity();
    EXPECT_NEAR(levelOf(values).peak, decibels(0.5), 0.01);
    EXPECT_FALSE(levelOf(values).isClipped);
}

TEST(LevelMeters, RiseAtOnceAndFallByDecibelsASecond) {
    LevelMeter meter;
    EXPECT_EQ(meter.read(10), LevelMeter::Reading());
    meter.add({-6, -12, false}, 10);
    EXPECT_EQ(meter.read(10), (LevelMeter::Reading{-12, -6, -6, false}));
    const LevelMeter::Reading later = meter.read(10.5);
    EXPECT_NEAR(later.peak, -6 - 0.5 * LevelMeter::kFall, 1e-9);
    EXPECT_NEAR(later.rms, -12 - 0.5 * LevelMeter::kFall, 1e-9);
    meter.add({-3, -9, false}, 10.6);
    EXPECT_EQ(meter.read(10.6).peak, -3);
    EXPECT_EQ(meter.read(60), LevelMeter::Reading());
}

TEST(LevelMeters, HoldTheHighestPeakThenLetItFall) {
    LevelMeter meter;
    meter.add({-6, -12, false}, 10);
    // Many readings are like few.
    for (int i = 0; i <= 30; ++i) EXPECT_EQ(meter.read(10 + i * LevelMeter::kHoldSeconds / 30).hold, -6);
    EXPECT_NEAR(meter.read(10 + LevelMeter::kHoldSeconds + 0.5).hold, -6 - 0.5 * LevelMeter::kFall, 1e-9);
    // A lower peak does not hold it, an equal one does.
    meter.add({-30, -30, false}, 12);
    EXPECT_NEAR(meter.read(12.1).hold, -18, 1e-9);
    meter.add({-6, -12, false}, 13);
    EXPECT_EQ(meter.read(14.4).hold, -6);
}

TEST(LevelMeters, LatchTheClipSign) {
    LevelMeter meter;
    meter.add({0, -3, true}, 5);
    meter.add({-40, -43, false}, 5.1);
    EXPECT_TRUE(meter.read(5 + LevelMeter::kClipSeconds - 0.01).isClipped);
    EXPECT_FALSE(meter.read(5 + LevelMeter::kClipSeconds).isClipped);
    EXPECT_FALSE(meter.read(30).isClipped);
}

}  // namespace
}  // namespace lumivastor::platform
