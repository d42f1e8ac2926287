// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/transform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace lumivastor::media {
namespace {

using Block = std::array<std::uint8_t, 16>;

Block noise(std::mt19937& random) {
    Block block;
    for (auto& sample : block) sample = static_cast<std::uint8_t>(random());
    return block;
}

TEST(Transform, ChromaIsCodedFinerThanCoarseLuma) {
    for (int offset = -12; offset <= 12; ++offset) {
        for (int qp = 0; qp < 52; ++qp) {
            const int index = std::clamp(qp + offset, 0, 51);
            const int chroma = chromaQp(qp, offset);
            if (index < 30) {
                EXPECT_EQ(chroma, index);
            } else {
                EXPECT_LT(chroma, index);
                EXPECT_LE(chroma, 39);
                EXPECT_GE(chroma, 29);
            }
        }
    }
}

// What is quantised and scaled again is off by at most a step, in the mean far less.
TEST(Transform, ABlockComesBackWithinItsStep) {
    std::mt19937 random(1);
    for (int qp = 0; qp <= 40; ++qp) {
        double squares = 0;
        const Quantiser& quantiser = quantiserFor(qp);
        for (int round = 0; round < 200; ++round) {
            const Block source = noise(random);
            Block shown = noise(random);
            Levels4x4 levels;
            quantise(forwardTransform(source.data(), 4, shown.data(), 4), quantiser, Rounding::upFromTwoThirds, levels);
            ASSERT_TRUE(addInverseTransform(scaled(levels, quantiser), shown.data(), 4));
            for (std::size_t i = 0; i < 16; ++i) squares += std::pow(source[i] - shown[i], 2);
        }
        // The step doubles every six QPs, from 0.625 on.
        const double step = 0.625 * std::pow(2.0, qp / 6.0);
        EXPECT_LT(std::sqrt(squares / 3200), 0.45 * step + 0.6) << qp;
    }
}

TEST(Transform, DcTransformsComeBackWithinTheirStep) {
    std::mt19937 random(2);
    for (int qp = 0; qp <= 40; ++qp) {
        const Quantiser& quantiser = quantiserFor(qp);
        const double step = 0.625 * std::pow(2.0, qp / 6.0);
        for (int round = 0; round < 200; ++round) {
            Coefficients4x4 dc;  // sums of 16 differences
            for (auto& each : dc) each = static_cast<std::int32_t>(random() % 8161) - 4080;
            const Coefficients4x4 shown = scaledLumaDc(quantiseLumaDc(dc, quantiser), quantiser);
            // A decoder's coefficient is 64 times a sample, a sum 16 times.
            for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(shown[i] / 64.0, dc[i] / 16.0, 3 * step + 1) << qp;

            const std::array<std::int32_t, 4> chroma{dc[0], dc[1], dc[2], dc[3]};
            const auto shownChroma = scaledChromaDc(quantiseChromaDc(chroma, quantiser), quantiser);
            for (std::size_t i = 0; i < 4; ++i) {
                EXPECT_NEAR(shownChroma[i] / 64.0, chroma[i] / 16.0, 2 * step + 1) << qp;
            }
        }
    }
}

TEST(Transform, RoundingDecidesWhatIsKept) {
    Coefficients4x4 coefficients{};
    const Quantiser& quantiser = quantiserFor(24);
    const double step = std::ldexp(1.0, quantiser.shift) / quantiser.forward[0];
    Levels4x4 levels;
    coefficients[0] = static_cast<std::int32_t>(0.72 * step);
    EXPECT_TRUE(quantise(coefficients, quantiser, Rounding::upFromTwoThirds, levels));
    EXPECT_EQ(levels[0], 1);
    EXPECT_FALSE(quantise(coefficients, quantiser, Rounding::upFromFourFifths, levels));
    coefficients[0] = -static_cast<std::int32_t>(0.85 * step);
    EXPECT_TRUE(quantise(coefficients, quantiser, Rounding::upFromFourFifths, levels));
    EXPECT_EQ(levels[0], -1);
}

TEST(Transform, SumsBeyondSixteenBitsAreRefused) {
    Block samples{};
    Coefficients4x4 coefficients{};
    coefficients[0] = 32767 - 32;
    EXPECT_TRUE(addInverseTransform(coefficients, samples.data(), 4));
    coefficients[0] = 32767;  // and 32 for rounding
    EXPECT_FALSE(addInverseTransform(coefficients, samples.data(), 4));
    coefficients[0] = coefficients[2] = 20000;
    EXPECT_FALSE(addInverseTransform(coefficients, samples.data(), 4));
    // More than 16 bits together, but in no sum: 15000, 15000, 25000, -15000 behind the first row.
    coefficients[1] = coefficients[3] = 10000;
    coefficients[0] = 10000;
    coefficients[2] = -10000;
    EXPECT_TRUE(addInverseTransform(coefficients, samples.data(), 4));
}

}  // namespace
}  // namespace lumivastor::media
