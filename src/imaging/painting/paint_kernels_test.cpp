// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/paint_kernels.h"

#include <gtest/gtest.h>

#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "imaging/painting/axis_table.h"

namespace lumivastor::imaging {
namespace {

TEST(PaintKernels, SquaresAreAveragedExactly) {
    constexpr int kSquares = 31;
    std::mt19937 random(1);
    for (const int side : {1, 2, 3, 18, 19, 64, 180, SquareParts::kMaximumSide}) {
        for (int round = 0; round < 200; ++round) {
            const int right = static_cast<int>(random() % static_cast<unsigned>(side));
            const int upper = static_cast<int>(random() % static_cast<unsigned>(side));
            const SquareParts parts{(side - right) * (side - upper), right * (side - upper), (side - right) * upper,
                                    right * upper};
            // Some rows are as bright as they can be.
            const unsigned darkest = round % 4 == 0 ? 65270 : 0;
            std::vector<std::uint16_t> rows[2];
            for (auto& row : rows) {
                for (int i = 0; i < (kSquares + 1) * 4; ++i) {
                    row.push_back(static_cast<std::uint16_t>(darkest + random() % (65281 - darkest)));
                }
            }
            std::vector<std::uint16_t> means(kSquares * 4);
            averageSquares(rows[0].data(), rows[1].data(), parts, kSquares, means.data());
            for (std::size_t i = 0; i < means.size(); ++i) {
                const std::int64_t sum =
                    std::int64_t{rows[0][i]} * parts.here + std::int64_t{rows[0][i + 4]} * parts.right +
                    std::int64_t{rows[1][i]} * parts.above + std::int64_t{rows[1][i + 4]} * parts.aboveRight;
                ASSERT_EQ(means[i], (sum + parts.pixels() / 2) / parts.pixels()) << "side " << side << ", value " << i;
            }
        }
    }
}

TEST(PaintKernels, PixelsAreSummedExactly) {
    constexpr int kStride = 300 * 4;
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(kStride * kMaximumSummed));
    std::mt19937 random(1);
    for (const bool isWhite : {true, false}) {
        for (auto& byte : pixels) byte = static_cast<std::uint8_t>(isWhite ? 255 : random());
        for (const int width : {1, 2, 7, 8, 9, 18, 100, 256, kMaximumSummed}) {
            for (const int height : {1, 3, 18, 200, kMaximumSummed}) {
                std::array<std::uint32_t, 4> expected{};
                for (int y = 0; y < height; ++y) {
                    for (int x = 0; x < width * 4; ++x) {
                        expected[static_cast<std::size_t>(x % 4)] += pixels[static_cast<std::size_t>(y * kStride + x)];
                    }
                }
                std::array<std::uint32_t, 4> sums{};
                sumBgra(pixels.data(), kStride, width, height, sums.data());
                EXPECT_EQ(sums, expected) << width << " x " << height;
            }
        }
    }
}

void onEveryInstructionSet(const std::function<void(const std::string& name)>& check) {
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        check(hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(0);
    }
}

std::vector<std::uint8_t> randomBytes(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<std::uint8_t> bytes(count);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

// A table that maps `count` samples to a source `scale` times as large.
AxisTable tableFor(int count, double scale, int sourceCount) {
    std::vector<double> positions;
    for (int i = 0; i < count; ++i) positions.push_back((i + 0.37) / scale - 0.5);
    return makeKernelTable(positions, {0, count}, scale, {0, sourceCount - 1}, sourceCount);
}

TEST(PaintKernels, RowsAreFilteredLikeThePlainSum) {
    constexpr int kCount = 75;
    for (const double scale : {9.0, 1.41, 1.0, 0.88, 0.6, 0.44, 0.3, 0.17, 0.05}) {
        const int sourceCount = static_cast<int>(kCount / scale) + 3;
        const AxisTable table = tableFor(kCount, scale, sourceCount);
        const auto source = randomBytes(static_cast<std::size_t>(sourceCount) + 64, 3);
        onEveryInstructionSet([&](const std::string& name) {
            std::vector<std::int16_t> filtered(80);
            filterRow(table, 0, 80, source.data(), filtered.data());
            for (int i = 0; i < kCount; ++i) {
                double sum = 0;
                for (int tap = 0; tap < table.taps; ++tap) {
                    const auto at = static_cast<std::size_t>(table.first[static_cast<std::size_t>(i)] + tap);
                    sum += (source[at] - 128) * 128.0 * table.weight(i, tap) / kKernelWeightOne;
                }
                // Each product is rounded.
                ASSERT_NEAR(filtered[static_cast<std::size_t>(i)], sum, 0.5 * table.taps + 1)
                    << name << ", scale " << scale << ", sample " << i;
            }
        });
    }
}

TEST(PaintKernels, RowsThatAreStoredAtOnceAreTheSameAsThroughLevels) {
    constexpr int kRows = 9;
    constexpr std::ptrdiff_t kStride = 256;
    std::vector<std::int16_t> ring(16 * kStride);
    std::mt19937 random(5);
    for (auto& sample : ring) sample = static_cast<std::int16_t>(static_cast<int>(random() % 40000) - 20000);
    for (const double scale : {1.41, 0.88, 0.44}) {
        const AxisTable down = tableFor(kRows, scale, 40);
        for (const int count : {1, 7, 15, 16, 31, 32, 33, 64, 100, 161}) {
            for (const int zero : {0, 16, 128}) {
                onEveryInstructionSet([&](const std::string& name) {
                    std::vector<std::uint8_t> bytes(kRows * 200, 0x5a);
                    storeRows({ring.data(), kStride, 15}, down, 2, kRows, count, zero, 16, bytes.data(), 200);
                    for (int row = 2; row < kRows; ++row) {
                        std::vector<const std::int16_t*> rows;
                        std::vector<std::int16_t> weights;
                        for (int tap = 0; tap < down.taps; ++tap) {
                            const int number = down.first[static_cast<std::size_t>(row)] + tap;
                            rows.push_back(ring.data() + (number & 15) * kStride);
                            weights.push_back(down.weight(row, tap));
                        }
                        std::vector<std::int16_t> levels(256, 0x5a);
                        combineRows(rows.data(), weights.data(), down.taps, count, zero, levels.data());
                        EXPECT_EQ(levels[static_cast<std::size_t>(count)], 0x5a) << "beside the row";
                        std::vector<std::uint8_t> expected(200, 0x5a);
                        storePlane(levels.data(), 16, expected.data(), count);
                        const auto begin = bytes.begin() + std::ptrdiff_t{row - 2} * 200;
                        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), begin))
                            << name << ", scale " << scale << ", " << count << " of row " << row;
                    }
                });
            }
        }
    }
}

TEST(PaintKernels, BytesAreCopiedSplitAndUnitedExactly) {
    const auto bytes = randomBytes(4 * 200, 9);
    for (const int count : {1, 3, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 130, 200}) {
        onEveryInstructionSet([&](const std::string& name) {
            std::vector<std::int16_t> levels(201, 0x5a);
            std::vector<std::uint8_t> sums(201, 0x5a);
            std::vector<std::uint8_t> alpha(201, 0x5a);
            levelsOfBytes(bytes.data(), count, 16, levels.data());
            addToBytes(bytes.data(), 16, count, sums.data());
            alphaOf(bytes.data(), alpha.data(), count);
            std::uint32_t united = 0;
            for (int i = 0; i < count; ++i) {
                const auto at = static_cast<std::size_t>(i);
                ASSERT_EQ(levels[at], (bytes[at] - 16) * 32) << name;
                ASSERT_EQ(sums[at], std::min(bytes[at] + 16, 255)) << name;
                ASSERT_EQ(alpha[at], bytes[at * 4 + 3]) << name;
                for (unsigned channel = 0; channel < 4; ++channel) {
                    united |= static_cast<std::uint32_t>(bytes[at * 4 + channel]) << 8 * channel;
                }
            }
            EXPECT_EQ(unitedPixels(bytes.data(), count), united) << name;
            const auto end = static_cast<std::size_t>(count);
            EXPECT_EQ(levels[end], 0x5a) << name;
            EXPECT_EQ(sums[end], 0x5a) << name;
            EXPECT_EQ(alpha[end], 0x5a) << name;
        });
    }
}

TEST(AxisTable, WeightsOfMagnificationsAreTheKernels) {
    for (const double scale : {1.0001, 1.41, 2.6, 12.0}) {
        const int count = static_cast<int>(90 * scale);
        const AxisTable table = tableFor(count, scale, 90);
        ASSERT_EQ(table.taps, 4);
        for (int i = 0; i < count; ++i) {
            const double position = (i + 0.37) / scale - 0.5;
            double sum = 0;
            for (int tap = 0; tap < 4; ++tap) {
                const int sample = table.first[static_cast<std::size_t>(i)] + tap;
                double expected = kernelAt(sample - position);
                // What lies beyond the ends counts for the samples there.
                for (int beyond = 1; beyond < 4; ++beyond) {
                    if (sample == 0) expected += kernelAt(-beyond - position);
                    if (sample == 89) expected += kernelAt(89 + beyond - position);
                }
                EXPECT_NEAR(table.weight(i, tap), expected * kKernelWeightOne, 1.01) << scale << ", " << i;
                sum += table.weight(i, tap);
            }
            EXPECT_EQ(sum, kKernelWeightOne);
        }
    }
}

}  // namespace
}  // namespace lumivastor::imaging
