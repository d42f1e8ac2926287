// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/cavlc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

#include "media/region/cavlc_tables.h"

namespace lumivastor::media::cavlc {
namespace {

// The symbol whose code follows, in a table of rows; the reader's flags are taken one by one, as slowly as can be.
template <typename Row>
int readSymbol(BitReader& reader, const Row& row) {
    std::uint32_t bits = 0;
    for (int length = 1; length <= 16; ++length) {
        bits = bits << 1 | reader.bits(1);
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (row[i].length == length && row[i].bits == bits) return static_cast<int>(i);
        }
    }
    ADD_FAILURE() << "no code";
    return 0;
}

template <typename Table>
std::pair<int, int> readToken(BitReader& reader, const Table& table) {
    std::uint32_t bits = 0;
    for (int length = 1; length <= 16; ++length) {
        bits = bits << 1 | reader.bits(1);
        for (std::size_t total = 0; total < table.size(); ++total) {
            for (std::size_t ones = 0; ones < table[total].size(); ++ones) {
                const Codeword& code = table[total][ones];
                if (code.length == length && code.bits == bits) {
                    return {static_cast<int>(total), static_cast<int>(ones)};
                }
            }
        }
    }
    ADD_FAILURE() << "no token";
    return {};
}

// 9.2 from the decoder's side, step by step.
std::vector<std::int16_t> readBlock(BitReader& reader, std::size_t size, int nC) {
    std::pair<int, int> token;
    if (nC == kChromaDc) {
        token = readToken(reader, kCoeffTokenChromaDc);
    } else if (nC < 8) {
        token = readToken(reader, nC < 2 ? kCoeffToken0 : nC < 4 ? kCoeffToken2 : kCoeffToken4);
    } else {
        const auto bits = static_cast<int>(reader.bits(6));
        token = bits == 3 ? std::pair{0, 0} : std::pair{(bits >> 2) + 1, bits & 3};
    }
    const auto [total, ones] = token;
    std::vector<std::int16_t> levels(size);
    if (total == 0) return levels;
    std::vector<int> values;
    int suffixLength = total > 10 && ones < 3 ? 1 : 0;
    for (int i = 0; i < total; ++i) {
        if (i < ones) {
            values.push_back(reader.flag() ? -1 : 1);
            continue;
        }
        int prefix = 0;
        while (!reader.flag() && prefix < 16) ++prefix;
        EXPECT_LE(prefix, 15);
        int code = std::min(15, prefix) << suffixLength;
        const int suffixSize = prefix == 14 && suffixLength == 0 ? 4 : prefix == 15 ? 12 : suffixLength;
        code += static_cast<int>(reader.bits(suffixSize));
        if (prefix == 15 && suffixLength == 0) code += 15;
        if (i == ones && ones < 3) code += 2;
        values.push_back(code % 2 == 0 ? (code + 2) / 2 : -(code + 1) / 2);
        if (suffixLength == 0) suffixLength = 1;
        if (std::abs(values.back()) > 3 << (suffixLength - 1) && suffixLength < 6) ++suffixLength;
    }
    int zeros = 0;
    if (total < static_cast<int>(size)) {
        const auto row = static_cast<std::size_t>(total) - 1;
        zeros = nC == kChromaDc ? readSymbol(reader, kTotalZerosChromaDc[row]) : readSymbol(reader, kTotalZeros[row]);
    }
    int at = total + zeros - 1;
    for (int i = 0; i < total; ++i) {
        levels[static_cast<std::size_t>(at)] = static_cast<std::int16_t>(values[static_cast<std::size_t>(i)]);
        --at;
        if (zeros > 0 && i + 1 < total) {
            const int run = readSymbol(reader, kRunBefore[static_cast<std::size_t>(std::min(zeros, 7)) - 1]);
            zeros -= run;
            at -= run;
        }
    }
    return levels;
}

template <typename Table>
void expectPrefixFree(const Table& codes) {
    for (const Codeword& a : codes) {
        for (const Codeword& b : codes) {
            if (&a == &b || a.length == 0 || b.length < a.length) continue;
            EXPECT_NE(b.bits >> (b.length - a.length), a.bits);
        }
    }
}

TEST(Cavlc, NoCodeBeginsAnother) {
    for (const CoeffTokens* tokens : {&kCoeffToken0, &kCoeffToken2, &kCoeffToken4}) {
        std::vector<Codeword> all;
        for (std::size_t total = 0; total < tokens->size(); ++total) {
            for (std::size_t ones = 0; ones < 4; ++ones) {
                const Codeword& code = (*tokens)[total][ones];
                EXPECT_EQ(code.length > 0, ones <= total) << total << " " << ones;
                all.push_back(code);
            }
        }
        expectPrefixFree(all);
    }
    std::vector<Codeword> chroma;
    for (const auto& row : kCoeffTokenChromaDc) chroma.insert(chroma.end(), row.begin(), row.end());
    expectPrefixFree(chroma);
    for (const auto& row : kTotalZeros) expectPrefixFree(row);
    for (const auto& row : kTotalZerosChromaDc) expectPrefixFree(row);
    for (const auto& row : kRunBefore) expectPrefixFree(row);
}

TEST(Cavlc, BlocksAreReadBack) {
    std::mt19937 random(4);
    for (int round = 0; round < 200000; ++round) {
        const int nC = static_cast<int>(random() % 18) - 1;
        const std::size_t size = nC == kChromaDc ? 4 : 15 + random() % 2;
        std::vector<std::int16_t> levels(size);
        const auto density = static_cast<unsigned>(random() % 9);
        const unsigned reach = 1U << random() % 12;
        for (auto& level : levels) {
            if (random() % 8 >= density) continue;
            level = static_cast<std::int16_t>(static_cast<int>(random() % (2 * reach + 1)) - static_cast<int>(reach));
        }
        BitWriter writer;
        const auto count = writeResidualBlock(writer, levels, nC);
        if (!count) continue;  // a level that has no code
        ASSERT_EQ(*count, std::count_if(levels.begin(), levels.end(), [](int level) { return level != 0; }));
        const std::size_t end = writer.position();
        BitReader reader(writer.bytes());
        ASSERT_EQ(readBlock(reader, size, nC), levels) << round;
        ASSERT_EQ(reader.position(), end);
    }
}

TEST(Cavlc, LevelsUpToTheEscapeHaveACode) {
    for (const int sign : {1, -1}) {
        for (int magnitude = 1; magnitude < 2600; ++magnitude) {
            const std::vector<std::int16_t> levels{static_cast<std::int16_t>(sign * magnitude), 0, 0, 0};
            BitWriter writer;
            const auto count = writeResidualBlock(writer, levels, kChromaDc);
            // 30 and 4096 codes, of which the first two cannot be the first level.
            EXPECT_EQ(count.has_value(), magnitude <= 2064) << sign * magnitude;
            if (!count) continue;
            BitReader reader(writer.bytes());
            EXPECT_EQ(readBlock(reader, 4, kChromaDc), levels);
        }
    }
}

}  // namespace
}  // namespace lumivastor::media::cavlc
