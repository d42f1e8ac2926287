// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/waveform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace lumivastor::render {
namespace {

TEST(Waveform, LevelsAreStepsOfThreeEighthsOfADecibel) {
    EXPECT_EQ(Waveform::levelOf(0), 0);
    EXPECT_EQ(Waveform::levelOf(-1), 0);
    EXPECT_EQ(Waveform::levelOf(std::numeric_limits<float>::quiet_NaN()), 0);
    EXPECT_EQ(Waveform::levelOf(1), 255);
    EXPECT_EQ(Waveform::levelOf(17), 255);
    EXPECT_EQ(Waveform::levelOf(std::numeric_limits<float>::infinity()), 255);
    EXPECT_EQ(Waveform::peakOf(0), 0);
    EXPECT_FLOAT_EQ(Waveform::peakOf(255), 1);
    for (int level = 1; level < 256; ++level) {
        const auto byte = static_cast<std::uint8_t>(level);
        EXPECT_EQ(Waveform::levelOf(Waveform::peakOf(byte)), byte);
        EXPECT_LT(Waveform::peakOf(static_cast<std::uint8_t>(level - 1)), Waveform::peakOf(byte));
    }
    EXPECT_NEAR(20 * std::log10(Waveform::peakOf(255 - 8) / Waveform::peakOf(255)), -3, 1e-4);
}

TEST(Waveform, WithoutLevelsEverythingIsSilent) {
    const Waveform none;
    EXPECT_EQ(none.seconds(), 0);
    EXPECT_EQ(none.peak({0, 10}), 0);
    std::vector<float> columns(7, 1.0F);
    none.peaks({-5, 5}, columns);
    EXPECT_EQ(columns, std::vector<float>(7, 0.0F));
}

TEST(Waveform, AClickIsInEveryViewOfItsMoment) {
    std::vector<std::uint8_t> levels(360'000);  // an hour
    levels[123'456] = 200;
    const Waveform waveform(levels);
    EXPECT_DOUBLE_EQ(waveform.seconds(), 3600);
    for (const int count : {1, 2, 3, 7, 100, 1999}) {
        std::vector<float> columns(static_cast<std::size_t>(count));
        waveform.peaks({0, 3600}, columns);
        const auto loud = std::count_if(columns.begin(), columns.end(), [](float peak) { return peak > 0; });
        EXPECT_GE(loud, 1) << count;
        EXPECT_LE(loud, 2) << count;
        EXPECT_FLOAT_EQ(*std::max_element(columns.begin(), columns.end()), Waveform::peakOf(200)) << count;
    }
    EXPECT_GT(waveform.peak({1234.56, 1234.57}), 0);
    EXPECT_EQ(waveform.peak({1234.58, 1234.60}), 0);
    EXPECT_EQ(waveform.peak({1234.50, 1234.55}), 0);
}

TEST(Waveform, PeaksAgreeWithALookAtEveryLevel) {
    std::mt19937 random(7);
    for (const std::size_t size : {1U, 7U, 8U, 9U, 63U, 64U, 65U, 511U, 4097U}) {
        std::vector<std::uint8_t> levels(size);
        for (auto& level : levels) level = static_cast<std::uint8_t>(random() % 256);
        const Waveform waveform(levels);
        for (int trial = 0; trial < 300; ++trial) {
            std::size_t first = random() % size;
            std::size_t last = random() % size;
            if (last < first) std::swap(first, last);
            // Half a level inside of both ends, so that rounding decides nothing.
            const Interval stretch{(static_cast<double>(first) + 0.5) / 100, (static_cast<double>(last) + 0.6) / 100};
            const auto highest = *std::max_element(levels.begin() + static_cast<std::ptrdiff_t>(first),
                                                   levels.begin() + static_cast<std::ptrdiff_t>(last) + 1);
            EXPECT_FLOAT_EQ(waveform.peak(stretch), Waveform::peakOf(highest)) << size << " " << first << " " << last;
        }
    }
}

TEST(Waveform, OutsideOfItsLengthIsSilence) {
    const Waveform waveform(std::vector<std::uint8_t>(100, 255));
    EXPECT_EQ(waveform.peak({-2, -1}), 0);
    EXPECT_EQ(waveform.peak({1.001, 2}), 0);
    EXPECT_EQ(waveform.peak({-1, 0.001}), 1);
    EXPECT_EQ(waveform.peak({0.999, 1e300}), 1);
    EXPECT_EQ(waveform.peak({0.5, 0.4}), 0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(waveform.peak({nan, nan}), 0);
    std::vector<float> columns(4);
    waveform.peaks({-1, 3}, columns);
    EXPECT_EQ(columns, (std::vector<float>{0, 1, 0, 0}));
}

}  // namespace
}  // namespace lumivastor::render
