// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/cavlc.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "media/region/cavlc_tables.h"

namespace lumivastor::media::cavlc {

namespace {

void write(BitWriter& writer, Codeword code) {
    writer.bits(code.bits, code.length);
}

void writeCoeffToken(BitWriter& writer, int totalCoeff, int trailingOnes, int nC) {
    const auto total = static_cast<std::size_t>(totalCoeff);
    const auto ones = static_cast<std::size_t>(trailingOnes);
    if (nC == kChromaDc) {
        write(writer, kCoeffTokenChromaDc[total][ones]);
    } else if (nC >= 8) {
        constexpr std::uint32_t kNone = 3;
        writer.bits(totalCoeff == 0 ? kNone : static_cast<std::uint32_t>((totalCoeff - 1) << 2 | trailingOnes), 6);
    } else {
        write(writer, (nC < 2 ? kCoeffToken0 : nC < 4 ? kCoeffToken2 : kCoeffToken4)[total][ones]);
    }
}

// The level beyond the trailing ones, and the length of the suffix for the next (9.2.2.1). False: too large.
bool writeLevel(BitWriter& writer, int level, bool isFirstAndLarger, int& suffixLength) {
    const int magnitude = std::abs(level);
    int levelCode = 2 * magnitude - 2 + (level < 0 ? 1 : 0);
    if (isFirstAndLarger) levelCode -= 2;  // with fewer than three trailing ones, this one is not +-1
    constexpr int kEscapeBits = 12;
    if (suffixLength == 0 && levelCode < 14) {
        writer.bits(1, levelCode + 1);
    } else if (suffixLength == 0 && levelCode < 30) {
        writer.bits(1, 15);  // level_prefix 14 has a suffix of four bits there
        writer.bits(static_cast<std::uint32_t>(levelCode - 14), 4);
    } else if (suffixLength > 0 && levelCode < 15 << suffixLength) {
        writer.bits(1, (levelCode >> suffixLength) + 1);
        writer.bits(static_cast<std::uint32_t>(levelCode) & ((1U << suffixLength) - 1), suffixLength);
    } else {
        const int escaped = levelCode - (suffixLength == 0 ? 30 : 15 << suffixLength);
        if (escaped >= 1 << kEscapeBits) return false;
        writer.bits(1, 16);  // level_prefix 15
        writer.bits(static_cast<std::uint32_t>(escaped), kEscapeBits);
    }
    if (suffixLength == 0) suffixLength = 1;
    if (magnitude > 3 << (suffixLength - 1) && suffixLength < 6) ++suffixLength;
    return true;
}

}  // namespace

std::optional<int> writeResidualBlock(BitWriter& writer, std::span<const std::int16_t> levels, int nC) {
    std::array<int, 16> values{};  // from the highest frequency down
    std::array<int, 16> runs{};    // zeros before each, in the order of scanning
    int totalCoeff = 0;
    int zeros = 0;
    for (std::size_t i = levels.size(); i-- > 0;) {
        if (levels[i] != 0) {
            values[static_cast<std::size_t>(totalCoeff++)] = levels[i];
        } else if (totalCoeff > 0) {
            ++runs[static_cast<std::size_t>(totalCoeff) - 1];
            ++zeros;
        }
    }
    int trailingOnes = 0;
    while (trailingOnes < std::min(totalCoeff, 3) && std::abs(values[static_cast<std::size_t>(trailingOnes)]) == 1) {
        ++trailingOnes;
    }
    writeCoeffToken(writer, totalCoeff, trailingOnes, nC);
    if (totalCoeff == 0) return 0;
    for (int i = 0; i < trailingOnes; ++i) writer.flag(values[static_cast<std::size_t>(i)] < 0);
    int suffixLength = totalCoeff > 10 && trailingOnes < 3 ? 1 : 0;
    for (int i = trailingOnes; i < totalCoeff; ++i) {
        const bool isFirstAndLarger = i == trailingOnes && trailingOnes < 3;
        if (!writeLevel(writer, values[static_cast<std::size_t>(i)], isFirstAndLarger, suffixLength))
            return std::nullopt;
    }
    if (totalCoeff < static_cast<int>(levels.size())) {
        const auto row = static_cast<std::size_t>(totalCoeff) - 1;
        const auto column = static_cast<std::size_t>(zeros);
        write(writer, nC == kChromaDc ? kTotalZerosChromaDc[row][column] : kTotalZeros[row][column]);
    }
    for (int i = 0; i + 1 < totalCoeff && zeros > 0; ++i) {
        const int run = runs[static_cast<std::size_t>(i)];
        write(writer, kRunBefore[static_cast<std::size_t>(std::min(zeros, 7)) - 1][static_cast<std::size_t>(run)]);
        zeros -= run;
    }
    return totalCoeff;
}

}  // namespace lumivastor::media::cavlc
