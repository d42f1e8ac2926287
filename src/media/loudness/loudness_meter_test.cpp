// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/loudness/loudness_meter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <span>
#include <utility>
#include <vector>

namespace lumivastor::media {
namespace {

constexpr PcmFormat kStereo;
constexpr double kRate = 48000;

// A tone in all channels: `level` is the peak in dB of full scale, `phase` in degrees. It begins and ends softly,
// because a step has peaks of its own.
struct Tone {
    double level;
    double seconds;
    double hertz = 1000;
    double phase = 0;
};

std::vector<float> tones(const std::vector<Tone>& all, int channels = 2) {
    std::vector<float> values;
    for (const Tone& tone : all) {
        const double size = std::pow(10, tone.level / 20);
        const auto frames = std::llround(tone.seconds * kRate);
        for (long long i = 0; i < frames; ++i) {
            const double angle =
                2 * std::numbers::pi * (tone.hertz * static_cast<double>(i) / kRate + tone.phase / 360);
            const double edge = static_cast<double>(std::min(i, frames - i)) / (0.01 * kRate);
            const double value = size * std::min(edge, 1.0) * std::sin(angle);
            values.insert(values.end(), static_cast<std::size_t>(channels), static_cast<float>(value));
        }
    }
    return values;
}

Loudness measured(const std::vector<float>& values, const PcmFormat& format = kStereo) {
    LoudnessMeter meter(format, LoudnessMeter::Figures::all);
    // In pieces, as they come.
    constexpr std::size_t kPiece = 9600;
    for (std::size_t at = 0; at < values.size(); at += kPiece) {
        meter.add(std::span(values).subspan(at, std::min(kPiece, values.size() - at)));
    }
    return meter.loudness();
}

// The signals by which meters of EBU R 128 are compared.
TEST(LoudnessMeter, ReadsTonesAsLoudAsTheyAre) {
    const std::vector<std::pair<std::vector<Tone>, double>> cases = {
        {{{-23, 20}}, -23},
        {{{-33, 20}}, -33},
        {{{-36, 10}, {-23, 60}, {-36, 10}}, -23},
        {{{-72, 10}, {-36, 10}, {-23, 60}, {-36, 10}, {-72, 10}}, -23},
        {{{-26, 20}, {-20, 20.1}, {-26, 20}}, -23},
    };
    for (const auto& [signal, expected] : cases) {
        const Loudness loudness = measured(tones(signal));
        ASSERT_TRUE(loudness.integrated);
        EXPECT_NEAR(*loudness.integrated, expected, 0.1);
    }
}

TEST(LoudnessMeter, ReadsPeaksBetweenTheValues) {
    // From 0.2 above to 0.4 below is what meters may show.
    const std::vector<std::pair<Tone, double>> cases = {
        {{-6.02, 1, kRate / 4, 0}, -6},    {{-6.02, 1, kRate / 4, 45}, -6}, {{-6.02, 1, kRate / 6, 60}, -6},
        {{-6.02, 1, kRate / 8, 67.5}, -6}, {{2.98, 1, kRate / 4, 45}, 3},
    };
    for (const auto& [signal, expected] : cases) {
        const Loudness loudness = measured(tones({signal}));
        ASSERT_TRUE(loudness.truePeak);
        EXPECT_LE(*loudness.truePeak, expected + 0.2) << signal.hertz;
        EXPECT_GE(*loudness.truePeak, expected - 0.4) << signal.hertz;
    }
}

TEST(LoudnessMeter, ReadsHowFarLoudAndQuietAreApart) {
    const std::vector<std::pair<std::vector<Tone>, double>> cases = {
        {{{-20, 20}, {-30, 20}}, 10},
        {{{-20, 20}, {-15, 20}}, 5},
        {{{-40, 20}, {-20, 20}}, 20},
        {{{-50, 20}, {-35, 20}, {-20, 20}, {-35, 20}, {-50, 20}}, 15},
    };
    for (const auto& [signal, expected] : cases) {
        const Loudness loudness = measured(tones(signal));
        ASSERT_TRUE(loudness.range);
        EXPECT_NEAR(*loudness.range, expected, 1);
    }
}

TEST(LoudnessMeter, AMonoTrackIsAsLoudAsItIsHeardOnBothSides) {
    const Loudness mono = measured(tones({{-23, 20}}, 1), {48000, 1});
    ASSERT_TRUE(mono.integrated);
    EXPECT_NEAR(*mono.integrated, -23, 0.1);
}

TEST(LoudnessMeter, SilenceHasNoLoudness) {
    for (const std::vector<float>& quiet :
         {std::vector<float>(), std::vector<float>(96000 * 5, 0.0F), tones({{-80, 5}}), tones({{-20, 0.2}})}) {
        EXPECT_EQ(measured(quiet).integrated, std::nullopt) << quiet.size();
        EXPECT_EQ(measured(quiet).range, std::nullopt) << quiet.size();
    }
    EXPECT_EQ(measured(std::vector<float>(9600, 0.0F)).truePeak, std::nullopt);
}

TEST(LoudnessMeter, ValuesThatAreNoNumbersDoNotSpoilTheOthers) {
    LoudnessMeter meter(kStereo, LoudnessMeter::Figures::all);
    const std::vector<float> tone = tones({{-23, 10}});
    meter.add(tone);
    meter.add(
        std::vector<float>{std::numeric_limits<float>::quiet_NaN(), 0, std::numeric_limits<float>::infinity(), 1});
    meter.add(tone);
    const Loudness loudness = meter.loudness();
    ASSERT_TRUE(loudness.integrated && loudness.truePeak);
    EXPECT_NEAR(*loudness.integrated, -23, 0.1);
    EXPECT_NEAR(*loudness.truePeak, -23, 0.2);
}

}  // namespace
}  // namespace lumivastor::media
