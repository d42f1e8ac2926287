// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/quiet_stretches.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "render/overview/level_meter.h"

namespace lumivastor::render {
namespace {

double amplitude(double decibels) {
    return std::pow(10, decibels / 20);
}

// Mono sound of so many seconds, at 8 kHz.
Waveform soundOf(double seconds, const std::function<double(double t)>& value) {
    constexpr int kRate = 8000;
    std::vector<float> values;
    for (int i = 0; i < static_cast<int>(seconds * kRate); ++i) {
        values.push_back(static_cast<float>(value(static_cast<double>(i) / kRate)));
    }
    LevelMeter meter(kRate, 1);
    meter.add(values);
    return Waveform(meter.levels());
}

double tone(double t, double decibels) {
    return amplitude(decibels) * std::sin(t * 2000);
}

void expectNear(const std::vector<Interval>& found, const std::vector<Interval>& expected) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i].start, expected[i].start, 0.02) << i;
        EXPECT_NEAR(found[i].end, expected[i].end, 0.02) << i;
    }
}

TEST(QuietStretches, SilenceIsQuiet) {
    expectNear(quietStretches(soundOf(10, [](double) { return 0; }), 10), {{0, 10}});
    expectNear(quietStretches(Waveform(), 10), {{0, 10}});
}

TEST(QuietStretches, AToneIsNotAndKeepsAMargin) {
    const Waveform sound = soundOf(10, [](double t) { return t >= 4 && t < 6 ? tone(t, -20) : 0; });
    expectNear(quietStretches(sound, 10), {{0, 3.85}, {6.15, 10}});
}

TEST(QuietStretches, AGapShorterThanItsMarginsIsNone) {
    const Waveform sound = soundOf(4, [](double t) { return t >= 2 && t < 2.2 ? 0 : tone(t, -20); });
    expectNear(quietStretches(sound, 4), {});
}

TEST(QuietStretches, RoomNoiseIsQuietAndWhatRisesAboveItIsNot) {
    for (const double noise : {-75, -60, -52, -48}) {
        std::mt19937 random(3);
        std::normal_distribution<> gauss;
        const Waveform sound = soundOf(60, [&](double t) {
            const double speech = t >= 20 && t < 30 ? tone(t, -25) : 0;
            return gauss(random) * amplitude(noise - 9) + speech;
        });
        expectNear(quietStretches(sound, 60), {{0, 19.85}, {30.15, 60}});
    }
}

TEST(QuietStretches, MusicWithoutPausesIsNeverQuiet) {
    const Waveform sound = soundOf(20, [](double t) { return tone(t, -24 + 4 * std::sin(t)); });
    expectNear(quietStretches(sound, 20), {});
}

TEST(QuietStretches, AfterTheTracksEndItIsQuiet) {
    const Waveform sound = soundOf(5, [](double t) { return tone(t, -20); });
    expectNear(quietStretches(sound, 12), {{5.15, 12}});
    expectNear(quietStretches(sound, 3), {});
}

TEST(LevelMeter, LevelsDoNotDependOnThePieces) {
    std::mt19937 random(5);
    for (const int rate : {100, 8000, 22'050, 44'100, 48'000}) {
        std::vector<float> values;
        for (int i = 0; i < rate * 2; ++i) values.push_back(static_cast<float>(random() % 2001) / 1000 - 1);
        LevelMeter whole(rate, 1);
        whole.add(values);
        EXPECT_EQ(whole.levels().size(), 200U) << rate;
        LevelMeter pieces(rate, 1);
        for (std::size_t at = 0; at < values.size();) {
            const std::size_t count = std::min<std::size_t>(1 + random() % 700, values.size() - at);
            pieces.add(std::span(values).subspan(at, count));
            at += count;
        }
        EXPECT_EQ(pieces.levels(), whole.levels());
    }
}

TEST(LevelMeter, TheLouderChannelCounts) {
    std::vector<float> values(9600);
    values[1001] = -0.5F;  // the right one, 10.4 ms from the beginning
    LevelMeter meter(48'000, 2);
    meter.add(values);
    auto levels = meter.levels();
    ASSERT_EQ(levels.size(), 10U);
    EXPECT_EQ(levels[1], Waveform::levelOf(0.5F));
    levels[1] = 0;
    EXPECT_EQ(levels, std::vector<std::uint8_t>(10));
    EXPECT_TRUE(LevelMeter(48'000, 2).levels().empty());
}

}  // namespace
}  // namespace lumivastor::render
