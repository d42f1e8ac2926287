// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/transform.h"

#include <algorithm>
#include <cstdlib>

#include "base/precondition.h"

namespace lumivastor::media {

namespace {

constexpr int kQps = 52;

// The norms of the transform's basis have three values: both indices even, both odd, or one of each.
constexpr std::size_t normClass(std::size_t i) {
    const bool oddColumn = i % 2 == 1;
    const bool oddRow = i / 4 % 2 == 1;
    return oddColumn && oddRow ? 1 : oddColumn || oddRow ? 2 : 0;
}

// normAdjust4x4 (8-315), and what it is the inverse of: 2^21 / (norm of the basis * normAdjust).
constexpr std::array<std::array<std::int32_t, 3>, 6> kNormAdjust{
    {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}}};
constexpr std::array<std::array<std::int32_t, 3>, 6> kForward{{{13107, 5243, 8066},
                                                               {11916, 4660, 7490},
                                                               {10082, 4194, 6554},
                                                               {9362, 3647, 5825},
                                                               {8192, 3355, 5243},
                                                               {7282, 2893, 4559}}};

constexpr auto kQuantisers = [] {
    std::array<Quantiser, kQps> all{};
    for (int qp = 0; qp < kQps; ++qp) {
        Quantiser& each = all[static_cast<std::size_t>(qp)];
        each.qp = qp;
        each.shift = 15 + qp / 6;
        for (std::size_t i = 0; i < 16; ++i) {
            const auto remainder = static_cast<std::size_t>(qp % 6);
            each.forward[i] = kForward[remainder][normClass(i)];
            each.scale[i] = kNormAdjust[remainder][normClass(i)] << (qp / 6);
        }
    }
    return all;
}();

// Sums and differences of four values as 8.5.12.2 wants them, for rows and columns alike.
struct Four {
    std::int32_t a, b, c, d;
};
constexpr Four hadamard(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
    return {a + b + c + d, a + b - c - d, a - b - c + d, a - b + c - d};
}
constexpr Four inverse(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
    const std::int32_t e0 = a + c;
    const std::int32_t e1 = a - c;
    const std::int32_t e2 = (b >> 1) - d;
    const std::int32_t e3 = b + (d >> 1);
    return {e0 + e3, e1 + e2, e1 - e2, e0 - e3};
}

template <typename Transform>
Coefficients4x4 inRowsAndColumns(const Coefficients4x4& values, Transform transform) {
    Coefficients4x4 rows{};
    for (std::size_t y = 0; y < 16; y += 4) {
        const Four row = transform(values[y], values[y + 1], values[y + 2], values[y + 3]);
        rows[y] = row.a;
        rows[y + 1] = row.b;
        rows[y + 2] = row.c;
        rows[y + 3] = row.d;
    }
    Coefficients4x4 result{};
    for (std::size_t x = 0; x < 4; ++x) {
        const Four column = transform(rows[x], rows[4 + x], rows[8 + x], rows[12 + x]);
        result[x] = column.a;
        result[4 + x] = column.b;
        result[8 + x] = column.c;
        result[12 + x] = column.d;
    }
    return result;
}

// Values of 8.5.12.1 and the sums that follow have 16 bits.
constexpr std::int32_t kLeast = -32768;
constexpr std::int32_t kMost = 32767;
bool fits(std::int32_t value) {
    return value >= kLeast && value <= kMost;
}

// Every sum of the inverse transform has each coefficient with a weight of at most 1, and (8-338) adds 32.
bool surelyFits(const Coefficients4x4& coefficients) {
    std::int32_t sum = 32;
    for (const std::int32_t each : coefficients) sum += std::abs(each);
    return sum <= kMost;
}

bool fitsInEveryStep(const Coefficients4x4& coefficients) {
    bool good = true;
    const auto checked = [&good](std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
        const Four four = inverse(a, b, c, d);
        for (const std::int32_t each : {a, b, c, d, a + c, a - c, (b >> 1) - d, b + (d >> 1), four.a, four.b, four.c,
                                        four.d, four.a + 32, four.b + 32, four.c + 32, four.d + 32}) {
            good = good && fits(each);
        }
        return four;
    };
    inRowsAndColumns(coefficients, checked);
    return good;
}

// A level of a transform of transforms, which is not normed: `extra` bits more behind the point. A third is added
// before cutting, as for other intra blocks.
std::int16_t dcLevel(std::int32_t coefficient, const Quantiser& quantiser, int extra) {
    const int shift = quantiser.shift + extra;
    const std::int64_t third = (std::int64_t{1} << shift) / 3;
    const std::int64_t magnitude = (std::int64_t{std::abs(coefficient)} * quantiser.forward[0] + third) >> shift;
    return static_cast<std::int16_t>(coefficient < 0 ? -magnitude : magnitude);
}

}  // namespace

int chromaQp(int lumaQp, int chromaQpIndexOffset) {
    constexpr std::array<int, 22> kFrom30{29, 30, 31, 32, 32, 33, 34, 34, 35, 35, 36,
                                          36, 37, 37, 37, 38, 38, 38, 39, 39, 39, 39};
    const int index = std::clamp(lumaQp + chromaQpIndexOffset, 0, kQps - 1);
    return index < 30 ? index : kFrom30[static_cast<std::size_t>(index - 30)];
}

const Quantiser& quantiserFor(int qp) {
    precondition(qp >= 0 && qp < kQps, "a QP that exists");
    return kQuantisers[static_cast<std::size_t>(qp)];
}

Coefficients4x4 forwardTransform(const std::uint8_t* source, std::ptrdiff_t sourceStride,
                                 const std::uint8_t* prediction, std::ptrdiff_t predictionStride) {
    Coefficients4x4 residual{};
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 4; ++x) residual[4 * y + x] = source[x] - prediction[x];
        source += sourceStride;
        prediction += predictionStride;
    }
    return inRowsAndColumns(residual, [](std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
        const std::int32_t outerSum = a + d;
        const std::int32_t innerSum = b + c;
        const std::int32_t outer = a - d;
        const std::int32_t inner = b - c;
        return Four{outerSum + innerSum, 2 * outer + inner, outerSum - innerSum, outer - 2 * inner};
    });
}

bool quantise(const Coefficients4x4& coefficients, const Quantiser& quantiser, Rounding rounding, Levels4x4& levels) {
    const std::int32_t bias = (1 << quantiser.shift) / (rounding == Rounding::upFromTwoThirds ? 3 : 5);
    std::int32_t any = 0;
    for (std::size_t i = 0; i < 16; ++i) {
        // At most 9180 * 13107 + 2^23 / 3: no coefficient exceeds 36 * 255.
        const std::int32_t magnitude = (std::abs(coefficients[i]) * quantiser.forward[i] + bias) >> quantiser.shift;
        levels[i] = static_cast<std::int16_t>(coefficients[i] < 0 ? -magnitude : magnitude);
        any |= magnitude;
    }
    return any != 0;
}

Coefficients4x4 scaled(const Levels4x4& levels, const Quantiser& quantiser) {
    Coefficients4x4 coefficients{};
    for (std::size_t i = 0; i < 16; ++i) coefficients[i] = levels[i] * quantiser.scale[i];
    return coefficients;
}

bool addInverseTransform(const Coefficients4x4& coefficients, std::uint8_t* samples, std::ptrdiff_t stride) {
    if (!surelyFits(coefficients) && !fitsInEveryStep(coefficients)) return false;
    const Coefficients4x4 residual = inRowsAndColumns(coefficients, inverse);
    for (std::size_t y = 0; y < 4; ++y, samples += stride) {
        for (std::size_t x = 0; x < 4; ++x) {
            const std::int32_t value = samples[x] + ((residual[4 * y + x] + 32) >> 6);
            samples[x] = static_cast<std::uint8_t>(std::clamp(value, 0, 255));
        }
    }
    return true;
}

Levels4x4 quantiseLumaDc(const Coefficients4x4& dc, const Quantiser& quantiser) {
    const Coefficients4x4 transformed = inRowsAndColumns(dc, hadamard);
    Levels4x4 levels{};
    // There and back, the Hadamard transform multiplies by 16. The decoder's scaling takes four of it, these two bits
    // the others.
    for (std::size_t i = 0; i < 16; ++i) levels[i] = dcLevel(transformed[i], quantiser, 2);
    return levels;
}

Coefficients4x4 scaledLumaDc(const Levels4x4& levels, const Quantiser& quantiser) {
    Coefficients4x4 values{};
    std::copy(levels.begin(), levels.end(), values.begin());
    values = inRowsAndColumns(values, hadamard);
    // (8-326) and (8-327), of which the second rounds; LevelScale is 16 * normAdjust here.
    const std::int32_t scale = 16 * kNormAdjust[static_cast<std::size_t>(quantiser.qp % 6)][0];
    const int sixths = quantiser.qp / 6;
    for (std::int32_t& each : values) {
        each = sixths >= 6 ? (each * scale) << (sixths - 6) : (each * scale + (1 << (5 - sixths))) >> (6 - sixths);
    }
    return values;
}

std::array<std::int16_t, 4> quantiseChromaDc(const std::array<std::int32_t, 4>& dc, const Quantiser& quantiser) {
    const Four transformed{dc[0] + dc[1] + dc[2] + dc[3], dc[0] - dc[1] + dc[2] - dc[3], dc[0] + dc[1] - dc[2] - dc[3],
                           dc[0] - dc[1] - dc[2] + dc[3]};
    return {dcLevel(transformed.a, quantiser, 1), dcLevel(transformed.b, quantiser, 1),
            dcLevel(transformed.c, quantiser, 1), dcLevel(transformed.d, quantiser, 1)};
}

std::array<std::int32_t, 4> scaledChromaDc(const std::array<std::int16_t, 4>& levels, const Quantiser& quantiser) {
    const std::int32_t a = levels[0];
    const std::int32_t b = levels[1];
    const std::int32_t c = levels[2];
    const std::int32_t d = levels[3];
    const std::int32_t scale = quantiser.scale[0];  // (8-330): ((f * 16 * normAdjust) << QP / 6) >> 5
    return {((a + b + c + d) * scale) >> 1, ((a - b + c - d) * scale) >> 1, ((a + b - c - d) * scale) >> 1,
            ((a - b - c + d) * scale) >> 1};
}

}  // namespace lumivastor::media
