// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/background_kernels.h"

#include <array>
#include <cstddef>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/background_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef LUMI_LAYER_KERNELS_ONCE
#define LUMI_LAYER_KERNELS_ONCE

namespace lumivastor::imaging {

// Bayer's ordered pattern of 8 x 8: what is added to a value before its fraction is cut off, (0...63 + 0.5) / 64. Among
// patterns it is the one whose parts a video encoder keeps longest: few frequencies, each of them strong.
constexpr int kPattern = 8;

// One row of it, long enough for a vector from any column on.
struct PatternRow {
    std::array<float, 3 * kPattern> values{};

    explicit PatternRow(int number) {
        for (int x = 0; x < static_cast<int>(values.size()); ++x) {
            int value = 0;
            for (int bit = 1; bit < kPattern; bit *= 2) {
                const int across = (x & bit) != 0 ? 1 : 0;
                const int down = (number & bit) != 0 ? 1 : 0;
                value = value * 4 + (across ^ down) * 2 + down;
            }
            values[static_cast<std::size_t>(x)] = (static_cast<float>(value) + 0.5F) / 64;
        }
    }
};

}  // namespace lumivastor::imaging

#endif

HWY_BEFORE_NAMESPACE();
namespace lumivastor::imaging {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// No wider than the rows' padding, which takes what the last vector has too much.
using Floats = hn::CappedTag<float, 16>;
constexpr Floats kFloats;
using FloatVector = hn::Vec<Floats>;

// A channel, or a weighted sum of channels, which the gradient changes evenly.
struct Tone {
    FloatVector light, change, white;

    HWY_INLINE FloatVector at(FloatVector gradient, FloatVector highlight) const {
        const auto tone = hn::Add(hn::Mul(gradient, change), light);
        return hn::Add(tone, hn::Mul(hn::Sub(white, tone), highlight));
    }
};

HWY_INLINE Tone toneOf(float light, float change, float white) {
    return {hn::Set(kFloats, light), hn::Set(kFloats, change), hn::Set(kFloats, white)};
}

// Calls `store(x, gradient, highlight, pattern)` for all of a row, vector by vector.
template <typename Store>
HWY_INLINE void forRow(const BackgroundRow& row, int number, int width, const Store& store) {
    const PatternRow patternRow(number);
    const auto columns = hn::Iota(kFloats, 0);  // made once: compilers build it element by element
    const auto lanes = static_cast<int>(hn::Lanes(kFloats));
    const auto zero = hn::Zero(kFloats);
    const auto alpha = hn::Set(kFloats, row.highlightAlpha);
    const auto perReach = hn::Set(kFloats, -row.highlightAlpha / row.highlightReach);
    const auto squareY = hn::Set(kFloats, row.highlightY * row.highlightY);
    const auto start = hn::Set(kFloats, row.gradientStart);
    const auto step = hn::Set(kFloats, row.gradientStep);
    const auto spacing = hn::Set(kFloats, row.spacing);
    const auto middle = hn::Set(kFloats, row.highlightX);
    for (int x = 0; x < width; x += lanes) {
        const auto position = hn::Add(columns, hn::Set(kFloats, static_cast<float>(x)));
        const auto gradient = hn::Add(hn::Mul(position, step), start);
        const auto across = hn::Sub(hn::Mul(position, spacing), middle);
        const auto distance = hn::Sqrt(hn::Add(hn::Mul(across, across), squareY));
        const auto highlight = hn::Max(hn::Add(hn::Mul(distance, perReach), alpha), zero);
        store(x, gradient, highlight, hn::LoadU(kFloats, patternRow.values.data() + x % kPattern));
    }
}

void fillBackgroundRow(const BackgroundRow& row, int number, std::uint8_t* pixels, int width) {
    const hn::RebindToSigned<Floats> ints;
    const auto opaque = hn::Set(ints, static_cast<std::int32_t>(0xff000000U));
    const Tone blue = toneOf(row.light[0], row.change[0], 255);
    const Tone green = toneOf(row.light[1], row.change[1], 255);
    const Tone red = toneOf(row.light[2], row.change[2], 255);
    forRow(row, number, width, [&](int x, FloatVector gradient, FloatVector highlight, FloatVector pattern) HWY_ATTR {
        const auto rounded = [&](const Tone& tone) HWY_ATTR {
            return hn::ConvertTo(ints, hn::Add(tone.at(gradient, highlight), pattern));
        };
        const auto low = hn::Or(rounded(blue), hn::ShiftLeft<8>(rounded(green)));
        const auto high = hn::Or(opaque, hn::ShiftLeft<16>(rounded(red)));
        hn::StoreU(hn::Or(low, high), ints,
                   reinterpret_cast<std::int32_t*>(pixels + static_cast<std::ptrdiff_t>(x) * 4));
    });
}

void fillBackgroundLevels(const BackgroundRow& row, const LevelWeights& weights, int number, std::int16_t* levels,
                          int width) {
    const hn::RebindToSigned<Floats> ints;
    const hn::Rebind<std::int16_t, Floats> halves;
    const auto summed = [&](const float* channels) {
        return channels[0] * weights.blue + channels[1] * weights.green + channels[2] * weights.red;
    };
    const float white[] = {255, 255, 255};
    const Tone sum = toneOf(summed(row.light), summed(row.change), summed(white));
    const auto unit = hn::Set(kFloats, 32.0F);
    const auto half = hn::Set(ints, 16);
    forRow(row, number, width, [&](int x, FloatVector gradient, FloatVector highlight, FloatVector pattern) HWY_ATTR {
        const auto value = sum.at(gradient, highlight);
        // Storing adds a half and cuts the fraction off.
        const auto level = hn::ConvertTo(ints, hn::Floor(hn::Mul(hn::Add(value, pattern), unit)));
        hn::StoreU(hn::DemoteTo(halves, hn::Sub(level, half)), halves, levels + x);
    });
}

}  // namespace HWY_NAMESPACE
}  // namespace lumivastor::imaging
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lumivastor::imaging {

HWY_EXPORT(fillBackgroundRow);
HWY_EXPORT(fillBackgroundLevels);

void fillBackgroundRow(const BackgroundRow& row, int number, std::uint8_t* pixels, int width) {
    HWY_DYNAMIC_DISPATCH(fillBackgroundRow)(row, number, pixels, width);
}

void fillBackgroundLevels(const BackgroundRow& row, const LevelWeights& weights, int number, std::int16_t* levels,
                          int width) {
    HWY_DYNAMIC_DISPATCH(fillBackgroundLevels)(row, weights, number, levels, width);
}

}  // namespace lumivastor::imaging
#endif
