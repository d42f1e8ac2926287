// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/loudness/true_peak_limiter.h"

#include <ebur128.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <span>
#include <vector>

#include "media/loudness/peaks_between.h"

namespace lumivastor::media {
namespace {

constexpr PcmFormat kStereo;
const double kCeiling = std::pow(10, -1.0 / 20);

std::vector<float> limitedInPieces(const std::vector<float>& values, std::size_t frames,
                                   const PcmFormat& format = kStereo) {
    TruePeakLimiter limiter(format, kCeiling);
    std::vector<float> limited;
    const std::size_t piece = frames * static_cast<std::size_t>(format.channels);
    for (std::size_t at = 0; at < values.size(); at += piece) {
        limiter.add(std::span(values).subspan(at, std::min(piece, values.size() - at)), limited);
    }
    limiter.finish(limited);
    return limited;
}

// By libebur128, whose filter is another one.
double truePeak(const std::vector<float>& values, const PcmFormat& format = kStereo) {
    ebur128_state* state = ebur128_init(static_cast<unsigned>(format.channels),
                                        static_cast<unsigned long>(format.sampleRate), EBUR128_MODE_TRUE_PEAK);
    ebur128_add_frames_float(state, values.data(), values.size() / static_cast<std::size_t>(format.channels));
    double highest = 1e-10;
    for (unsigned channel = 0; channel < static_cast<unsigned>(format.channels); ++channel) {
        double peak = 0;
        ebur128_true_peak(state, channel, &peak);
        highest = std::max(highest, peak);
    }
    ebur128_destroy(&state);
    return 20 * std::log10(highest);
}

std::vector<float> tone(double amplitude, double hertz, double degrees, double seconds, int rate = 48000) {
    std::vector<float> values;
    for (int i = 0; i < static_cast<int>(seconds * rate); ++i) {
        const double angle = 2 * std::numbers::pi * (hertz * i / rate + degrees / 360);
        values.insert(values.end(), 2, static_cast<float>(amplitude * std::sin(angle)));
    }
    return values;
}

std::vector<float> noise(double seconds, const std::function<double(double)>& amplitudeAt, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal;
    std::vector<float> values;
    for (int i = 0; i < static_cast<int>(seconds * 48000); ++i) {
        for (int channel = 0; channel < 2; ++channel) {
            values.push_back(static_cast<float>(normal(random) * amplitudeAt(i / 48000.0)));
        }
    }
    return values;
}

TEST(TruePeakMeter, AgreesWithTheLibrary) {
    const std::vector<std::vector<float>> signals = {
        noise(1, [](double) { return 0.2; }), noise(1, [](double t) { return std::fmod(t, 0.3) < 0.01 ? 1.0 : 0.01; }),
        tone(0.5, 997, 10, 0.5), tone(0.7, 11000, 45, 0.5)};
    for (const std::vector<float>& signal : signals) {
        TruePeakMeter meter(2);
        for (std::size_t at = 0; at < signal.size(); at += 2000) {
            meter.add(std::span(signal).subspan(at, std::min<std::size_t>(2000, signal.size() - at)));
        }
        // Near half the rate, where white noise has as much as anywhere, the library's filter falls off earlier.
        EXPECT_NEAR(20 * std::log10(meter.peak()), truePeak(signal), 0.5);
        TruePeakMeter whole(2);
        whole.add(signal);
        EXPECT_EQ(whole.peak(), meter.peak());
    }
    // The last values have peaks behind them, too.
    TruePeakMeter meter(1);
    meter.add(std::vector<float>{0, 0, 1, 1});
    EXPECT_GT(meter.peak(), 1.1F);
    EXPECT_EQ(TruePeakMeter(2).peak(), 0);
}

TEST(TruePeakLimiter, LeavesWhatIsBelowTheCeiling) {
    const std::vector<float> quiet = tone(0.8, 440, 0, 1);
    const std::vector<float> limited = limitedInPieces(quiet, 4800);
    ASSERT_EQ(limited.size(), quiet.size());
    EXPECT_EQ(limited, quiet);
    EXPECT_TRUE(limitedInPieces({}, 4800).empty());
}

TEST(TruePeakLimiter, KeepsPeaksBetweenTheValuesBelowTheCeiling) {
    // At a quarter of the rate and 45 degrees no value reaches the tone's peak by 3 dB.
    for (const double amplitude : {0.9, 1.0, 1.41, 3.0, 10.0}) {
        for (const double degrees : {0.0, 30.0, 45.0}) {
            for (const double hertz : {60.0, 997.0, 6000.0, 12000.0, 15000.0}) {
                const std::vector<float> limited = limitedInPieces(tone(amplitude, hertz, degrees, 0.2), 4800);
                EXPECT_LE(truePeak(limited), -1.0) << amplitude << " " << hertz << " Hz " << degrees;
            }
        }
    }
    EXPECT_GT(truePeak(tone(0.99, 12000, 45, 0.5)), -0.3);
}

TEST(TruePeakLimiter, HoldsForNoiseBurstsAndSteps) {
    for (unsigned seed = 1; seed <= 5; ++seed) {
        const auto bursts = noise(
            3, [](double t) { return std::fmod(t, 0.37) < 0.01 ? 2.0 : 0.1; }, seed);
        EXPECT_LE(truePeak(limitedInPieces(bursts, 4800)), -1.0) << seed;
        EXPECT_LE(truePeak(limitedInPieces(noise(
                                               2, [](double) { return 0.5; }, seed),
                                           4800)),
                  -1.0)
            << seed;
    }
    std::vector<float> square;
    for (int i = 0; i < 96000; ++i) square.insert(square.end(), 2, i / 50 % 2 == 0 ? 1.5F : -1.5F);
    EXPECT_LE(truePeak(limitedInPieces(square, 4800)), -1.0);
}

TEST(TruePeakLimiter, PiecesMakeNoDifference) {
    const auto bursts = noise(1, [](double t) { return std::fmod(t, 0.2) < 0.02 ? 1.0 : 0.05; });
    const std::vector<float> whole = limitedInPieces(bursts, bursts.size());
    for (const std::size_t frames : {1U, 7U, 480U, 4801U}) {
        const std::vector<float> pieces = limitedInPieces(bursts, frames);
        ASSERT_EQ(pieces.size(), whole.size()) << frames;
        for (std::size_t i = 0; i < whole.size(); ++i) ASSERT_NEAR(pieces[i], whole[i], 1e-5) << frames << " " << i;
    }
}

TEST(TruePeakLimiter, NothingMovesAndWhatIsFarFromPeaksStays) {
    // One click of a frame in a quiet tone.
    std::vector<float> values = tone(0.1, 200, 0, 1);
    values[48000] = values[48001] = 4;
    const std::vector<float> limited = limitedInPieces(values, 4800);
    ASSERT_EQ(limited.size(), values.size());
    const auto loudest = std::max_element(limited.begin(), limited.end());
    EXPECT_EQ(loudest - limited.begin(), 48000);
    EXPECT_GT(*loudest, 0.7F);
    // Up to the look-ahead before it, and a second behind, nothing has changed.
    const auto lookAhead = static_cast<std::size_t>(TruePeakLimiter::kLookAheadSeconds * 48000) + 24;
    for (std::size_t i = 0; i < 48000 - 2 * lookAhead; ++i) ASSERT_EQ(limited[i], values[i]) << i;
    EXPECT_NEAR(limited[95998], values[95998], 0.01 * std::abs(values[95998]) + 1e-4);
}

TEST(TruePeakLimiter, TheFactorNeverJumps) {
    std::vector<float> values(2 * 48000, 0.1F);
    values[48000] = values[48001] = 4;
    const std::vector<float> limited = limitedInPieces(values, 4800);
    float steepest = 0;
    for (std::size_t i = 2; i < limited.size(); i += 2) {
        if (i == 48000 || i == 48002) continue;
        steepest = std::max(steepest, std::abs(limited[i] - limited[i - 2]) / 0.1F);
    }
    // The way to a fifth takes five milliseconds.
    EXPECT_LT(steepest, 0.01F);
}

TEST(TruePeakLimiter, BothSidesAreLoweredAlike) {
    std::vector<float> values;
    for (int i = 0; i < 48000; ++i) {
        const auto left = static_cast<float>(2 * std::sin(i * 0.05));
        values.push_back(left);
        values.push_back(0.1F * left);
    }
    const std::vector<float> limited = limitedInPieces(values, 4800);
    for (std::size_t i = 0; i < limited.size(); i += 2) ASSERT_NEAR(limited[i + 1], 0.1F * limited[i], 1e-6);
}

TEST(TruePeakLimiter, OtherFormatsWorkToo) {
    std::vector<float> mono;
    for (int i = 0; i < 44100; ++i) mono.push_back(static_cast<float>(3 * std::sin(i * 0.7)));
    const PcmFormat format{44100, 1};
    const std::vector<float> limited = limitedInPieces(mono, 1000, format);
    ASSERT_EQ(limited.size(), mono.size());
    EXPECT_LE(truePeak(limited, format), -1.0);
}

}  // namespace
}  // namespace lumivastor::media
