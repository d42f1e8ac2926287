// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/intra_prediction.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace lumivastor::media {
namespace {

constexpr int kStride = 40;

// A plane of noise with room for neighbours.
struct Noise {
    std::vector<std::uint8_t> samples = std::vector<std::uint8_t>(kStride * kStride);
    const std::uint8_t* block = samples.data() + 8 * kStride + 8;

    explicit Noise(std::mt19937& random) {
        for (auto& each : samples) each = static_cast<std::uint8_t>(random());
    }
    int at(int x, int y) const { return block[y * kStride + x]; }
};

Neighbours randomNeighbours(std::mt19937& random) {
    return {random() % 2 == 0, random() % 2 == 0, random() % 2 == 0, random() % 2 == 0};
}

// 8.3.1.2 as it is written, formula by formula; p() are the neighbours.
int plain4x4(Intra4x4Mode mode, int x, int y, const Noise& noise, const Neighbours& neighbours) {
    const auto p = [&](int px, int py) {
        return py < 0 && px > 3 && !neighbours.topRight ? noise.at(3, -1) : noise.at(px, py);
    };
    const auto two = [](int a, int b) { return (a + b + 1) >> 1; };
    const auto three = [](int a, int b, int c) { return (a + 2 * b + c + 2) >> 2; };
    switch (mode) {
        case Intra4x4Mode::vertical:
            return p(x, -1);
        case Intra4x4Mode::horizontal:
            return p(-1, y);
        case Intra4x4Mode::dc: {
            const int top = p(0, -1) + p(1, -1) + p(2, -1) + p(3, -1);
            const int left = p(-1, 0) + p(-1, 1) + p(-1, 2) + p(-1, 3);
            if (neighbours.left && neighbours.top) return (top + left + 4) >> 3;
            if (neighbours.left) return (left + 2) >> 2;
            if (neighbours.top) return (top + 2) >> 2;
            return 128;
        }
        case Intra4x4Mode::diagonalDownLeft:
            if (x == 3 && y == 3) return (p(6, -1) + 3 * p(7, -1) + 2) >> 2;
            return three(p(x + y, -1), p(x + y + 1, -1), p(x + y + 2, -1));
        case Intra4x4Mode::diagonalDownRight:
            if (x > y) return three(p(x - y - 2, -1), p(x - y - 1, -1), p(x - y, -1));
            if (x < y) return three(p(-1, y - x - 2), p(-1, y - x - 1), p(-1, y - x));
            return three(p(0, -1), p(-1, -1), p(-1, 0));
        case Intra4x4Mode::verticalRight: {
            const int z = 2 * x - y;
            if (z >= 0 && z % 2 == 0) return two(p(x - (y >> 1) - 1, -1), p(x - (y >> 1), -1));
            if (z >= 0) return three(p(x - (y >> 1) - 2, -1), p(x - (y >> 1) - 1, -1), p(x - (y >> 1), -1));
            if (z == -1) return three(p(-1, 0), p(-1, -1), p(0, -1));
            return three(p(-1, y - 1), p(-1, y - 2), p(-1, y - 3));
        }
        case Intra4x4Mode::horizontalDown: {
            const int z = 2 * y - x;
            if (z >= 0 && z % 2 == 0) return two(p(-1, y - (x >> 1) - 1), p(-1, y - (x >> 1)));
            if (z >= 0) return three(p(-1, y - (x >> 1) - 2), p(-1, y - (x >> 1) - 1), p(-1, y - (x >> 1)));
            if (z == -1) return three(p(-1, 0), p(-1, -1), p(0, -1));
            return three(p(x - 1, -1), p(x - 2, -1), p(x - 3, -1));
        }
        case Intra4x4Mode::verticalLeft:
            if (y % 2 == 0) return two(p(x + (y >> 1), -1), p(x + (y >> 1) + 1, -1));
            return three(p(x + (y >> 1), -1), p(x + (y >> 1) + 1, -1), p(x + (y >> 1) + 2, -1));
        case Intra4x4Mode::horizontalUp: {
            const int z = x + 2 * y;
            if (z > 5) return p(-1, 3);
            if (z == 5) return (p(-1, 2) + 3 * p(-1, 3) + 2) >> 2;
            if (z % 2 == 0) return two(p(-1, y + (x >> 1)), p(-1, y + (x >> 1) + 1));
            return three(p(-1, y + (x >> 1)), p(-1, y + (x >> 1) + 1), p(-1, y + (x >> 1) + 2));
        }
    }
    return -1;
}

TEST(IntraPrediction, BlocksAreAsTheFormulasSay) {
    std::mt19937 random(11);
    int compared = 0;
    for (int round = 0; round < 500; ++round) {
        const Noise noise(random);
        const Neighbours neighbours = randomNeighbours(random);
        const Intra4x4Predictor predictor({noise.block, kStride}, neighbours);
        for (int number = 0; number < kIntra4x4Modes; ++number) {
            const auto mode = static_cast<Intra4x4Mode>(number);
            if (!mayPredict(mode, neighbours)) continue;
            Block4x4 prediction;
            predictor.predict(mode, prediction);
            ++compared;
            for (int i = 0; i < 16; ++i) {
                ASSERT_EQ(prediction[static_cast<std::size_t>(i)], plain4x4(mode, i % 4, i / 4, noise, neighbours))
                    << number << " " << i;
            }
        }
    }
    EXPECT_GT(compared, 1000);
}

// Neighbours that may not be used do not matter.
TEST(IntraPrediction, OnlyAllowedNeighboursCount) {
    std::mt19937 random(12);
    for (int round = 0; round < 200; ++round) {
        Noise noise(random);
        const Neighbours neighbours = randomNeighbours(random);
        std::vector<std::vector<std::uint8_t>> before;
        for (const bool again : {false, true}) {
            std::vector<std::vector<std::uint8_t>> all;
            for (int number = 0; number < 4; ++number) {
                Block16x16 luma;
                Block8x8 chroma;
                if (mayPredict(static_cast<Intra16x16Mode>(number), neighbours)) {
                    predict(static_cast<Intra16x16Mode>(number), {noise.block, kStride}, neighbours, luma);
                    all.emplace_back(luma.begin(), luma.end());
                }
                if (mayPredict(static_cast<IntraChromaMode>(number), neighbours)) {
                    predict(static_cast<IntraChromaMode>(number), {noise.block, kStride}, neighbours, chroma);
                    all.emplace_back(chroma.begin(), chroma.end());
                }
            }
            if (again) {
                EXPECT_EQ(all, before);
                break;
            }
            before = all;
            for (int i = 0; i < 24; ++i) {
                auto* const block = noise.samples.data() + (noise.block - noise.samples.data());
                if (!neighbours.left && i < 16) block[i * kStride - 1] ^= 0x55;
                if (!neighbours.top && i < 16) block[i - kStride] ^= 0x55;
                if (!neighbours.topRight && i >= 16) block[i - kStride] ^= 0x55;
            }
            if (!neighbours.topLeft) noise.samples[7 * kStride + 7] ^= 0x55;
        }
    }
}

TEST(IntraPrediction, APlaneContinuesAGradient) {
    std::mt19937 random(13);
    for (int slopeX = -5; slopeX <= 5; ++slopeX) {
        for (int slopeY = -5; slopeY <= 5; ++slopeY) {
            Noise noise(random);
            const auto gradient = [&](int x, int y) { return std::clamp(128 + slopeX * x + slopeY * y, 0, 255); };
            for (int y = -1; y < 16; ++y) {
                for (int x = -1; x < 16; ++x) {
                    noise.samples[static_cast<std::size_t>((8 + y) * kStride + 8 + x)] =
                        static_cast<std::uint8_t>(gradient(x, y));
                }
            }
            const Neighbours all{true, true, true, true};
            Block16x16 luma;
            Block8x8 chroma;
            predict(Intra16x16Mode::plane, {noise.block, kStride}, all, luma);
            predict(IntraChromaMode::plane, {noise.block, kStride}, all, chroma);
            if (128 + 16 * (std::abs(slopeX) + std::abs(slopeY)) > 255) continue;  // clipped
            for (int i = 0; i < 256; ++i) EXPECT_NEAR(luma[static_cast<std::size_t>(i)], gradient(i % 16, i / 16), 1);
            for (int i = 0; i < 64; ++i) EXPECT_NEAR(chroma[static_cast<std::size_t>(i)], gradient(i % 8, i / 8), 1);
        }
    }
}

}  // namespace
}  // namespace lumivastor::media
