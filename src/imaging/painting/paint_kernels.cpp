// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/paint_kernels.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/painting/paint_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace lumivastor::imaging {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// 16 levels at a time where the machine has them, else 8: blocks of 16 hold whole vectors either way.
using Levels = hn::CappedTag<std::int16_t, 16>;
#if HWY_TARGET != HWY_SCALAR
using Run = hn::FixedTag<std::uint8_t, 16>;
constexpr Run kRun;
#endif
constexpr Levels kLevels;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(Levels()));
using LevelVector = hn::Vec<Levels>;

#if HWY_TARGET == HWY_SCALAR

// Without vectors: the same products, rounded alike.
template <int Parts, int Taps>
void filterBlocks(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    for (int sample = begin; sample < end; ++sample) {
        const int limited = std::min(sample, table.count - 1);
        const std::uint8_t* from = source + table.first[static_cast<std::size_t>(limited)];
        int sum = 0;
        for (int tap = 0; tap < table.taps; ++tap) {
            sum += ((from[tap] << 7) * table.weight(limited, tap) + (1 << 14)) >> 15;
        }
        filtered[sample - begin] = static_cast<std::int16_t>(sum);
    }
}

#else

template <int Parts>
HWY_INLINE hn::Vec<Run> picked(const std::uint8_t* source, const int* starts, const std::uint8_t* picks, int tap,
                               int parts) {
    auto bytes = hn::TableLookupBytesOr0(hn::LoadU(kRun, source + starts[0] + tap), hn::LoadU(kRun, picks));
    const int number = Parts > 0 ? Parts : parts;
    for (int part = 1; part < number; ++part) {
        const auto run = hn::LoadU(kRun, source + starts[part] + tap);
        bytes = hn::Or(bytes, hn::TableLookupBytesOr0(run, hn::LoadU(kRun, picks + part * 16)));
    }
    return bytes;
}

// One block where a vector holds all of it, and where it takes two vectors.
template <int Parts, class D, hwy::EnableIf<D::kPrivateN == 16>* = nullptr>
HWY_INLINE void filterBlock(D d, const std::uint8_t* source, const int* starts, const std::uint8_t* picks,
                            const std::int16_t* weights, int taps, int parts, std::int16_t* filtered) {
    auto sum = hn::Zero(d);
    for (int tap = 0; tap < taps; ++tap) {
        const auto samples = hn::PromoteTo(d, picked<Parts>(source, starts, picks, tap, parts));
        sum = hn::Add(sum, hn::MulFixedPoint15(hn::ShiftLeft<7>(samples), hn::LoadU(d, weights + tap * 16)));
    }
    hn::StoreU(sum, d, filtered);
}

template <int Parts, class D, hwy::EnableIf<D::kPrivateN == 8>* = nullptr>
HWY_INLINE void filterBlock(D d, const std::uint8_t* source, const int* starts, const std::uint8_t* picks,
                            const std::int16_t* weights, int taps, int parts, std::int16_t* filtered) {
    auto low = hn::Zero(d);
    auto high = hn::Zero(d);
    for (int tap = 0; tap < taps; ++tap) {
        const auto bytes = picked<Parts>(source, starts, picks, tap, parts);
        const auto lowSamples = hn::PromoteTo(d, hn::LowerHalf(bytes));
        const auto highSamples = hn::PromoteTo(d, hn::UpperHalf(hn::Half<Run>(), bytes));
        low = hn::Add(low, hn::MulFixedPoint15(hn::ShiftLeft<7>(lowSamples), hn::LoadU(d, weights + tap * 16)));
        high = hn::Add(high, hn::MulFixedPoint15(hn::ShiftLeft<7>(highSamples), hn::LoadU(d, weights + tap * 16 + 8)));
    }
    hn::StoreU(low, d, filtered);
    hn::StoreU(high, d, filtered + 8);
}

// `Parts` and `Taps` of 0 stand for any number.
template <int Parts, int Taps>
void filterBlocks(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    const int taps = Taps > 0 ? Taps : table.taps;
    for (int block = begin / 16; block < end / 16; ++block, filtered += 16) {
        const auto part = static_cast<std::size_t>(block) * static_cast<std::size_t>(table.parts);
        const int* starts = table.partStart.data() + part;
        const std::uint8_t* picks = table.partPicks.data() + part * 16;
        const std::int16_t* weights =
            table.weights.data() + static_cast<std::size_t>(block) * static_cast<std::size_t>(taps) * 16;
        filterBlock<Parts>(kLevels, source, starts, picks, weights, taps, table.parts, filtered);
    }
}

#endif

void filterMany(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    for (int sample = begin; sample < end; ++sample) {
        const int limited = std::min(sample, table.count - 1);
        const std::uint8_t* from = source + table.first[static_cast<std::size_t>(limited)];
        std::int32_t sum = 0;
        for (int tap = 0; tap < table.taps; ++tap) sum += from[tap] * table.weight(limited, tap);
        filtered[sample - begin] = static_cast<std::int16_t>((sum + (1 << 7)) >> 8);
    }
}

void widenRow(const std::uint8_t* source, int count, std::int16_t* filtered) {
    const hn::Rebind<std::uint8_t, Levels> narrow;
    for (int at = 0; at < count; at += kLanes) {
        hn::StoreU(hn::ShiftLeft<6>(hn::PromoteTo(kLevels, hn::LoadU(narrow, source + at))), kLevels, filtered + at);
    }
}

void filterRow(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    if (table.taps > kMaxQuickTaps) return filterMany(table, begin, end, source, filtered);
    if (table.parts == 1 && table.taps == 4) return filterBlocks<1, 4>(table, begin, end, source, filtered);
    if (table.parts == 1) return filterBlocks<1, 0>(table, begin, end, source, filtered);
    if (table.parts == 2 && table.taps == 5) return filterBlocks<2, 5>(table, begin, end, source, filtered);
    if (table.parts == 2 && table.taps == 6) return filterBlocks<2, 6>(table, begin, end, source, filtered);
    if (table.parts == 2) return filterBlocks<2, 0>(table, begin, end, source, filtered);
    if (table.parts == 4) return filterBlocks<4, 0>(table, begin, end, source, filtered);
    filterBlocks<0, 0>(table, begin, end, source, filtered);
}

template <int Taps>
void combine(const std::int16_t* const* rows, const std::int16_t* weights, int taps, int count, std::int16_t* levels) {
    const int number = Taps > 0 ? Taps : taps;
    for (int at = 0; at < count; at += kLanes) {
        auto sum = hn::MulFixedPoint15(hn::LoadU(kLevels, rows[0] + at), hn::Set(kLevels, weights[0]));
        for (int tap = 1; tap < number; ++tap) {
            sum = hn::Add(sum, hn::MulFixedPoint15(hn::LoadU(kLevels, rows[tap] + at), hn::Set(kLevels, weights[tap])));
        }
        hn::StoreU(sum, kLevels, levels + at);
    }
}

void combineRows(const std::int16_t* const* rows, const std::int16_t* weights, int taps, int count,
                 std::int16_t* levels) {
    if (taps > kMaxQuickTaps) {
        for (int at = 0; at < count; ++at) {
            std::int32_t sum = 0;
            for (int tap = 0; tap < taps; ++tap) sum += rows[tap][at] * weights[tap];
            levels[at] = static_cast<std::int16_t>((sum + (1 << 14)) >> 15);
        }
        return;
    }
    if (taps == 1) return combine<1>(rows, weights, taps, count, levels);
    if (taps == 4) return combine<4>(rows, weights, taps, count, levels);
    if (taps == 5) return combine<5>(rows, weights, taps, count, levels);
    combine<0>(rows, weights, taps, count, levels);
}

// Applies `change` to `count` elements of `destination`, the last vector only as far as it goes.
template <typename Change>
HWY_INLINE void changeExactly(std::int16_t* destination, int count, const Change& change) {
    int at = 0;
    for (; at + kLanes <= count; at += kLanes) {
        hn::StoreU(change(at, hn::LoadU(kLevels, destination + at)), kLevels, destination + at);
    }
    if (at < count) {
        const auto old = hn::LoadU(kLevels, destination + at);
        const auto mask = hn::FirstN(kLevels, static_cast<std::size_t>(count - at));
        hn::StoreU(hn::IfThenElse(mask, change(at, old), old), kLevels, destination + at);
    }
}

void addToLevels(std::int16_t* levels, int amount, int count) {
    const auto added = hn::Set(kLevels, static_cast<std::int16_t>(amount));
    changeExactly(levels, count, [&](int, LevelVector level) HWY_ATTR { return hn::Add(level, added); });
}

void limitPremultiplied(std::int16_t* blue, std::int16_t* green, std::int16_t* red, std::int16_t* alpha, int count) {
    const auto zero = hn::Zero(kLevels);
    const auto full = hn::Set(kLevels, static_cast<std::int16_t>(kFullLevel));
    for (int at = 0; at < count; at += kLanes) {
        const auto maximum = hn::Min(hn::Max(hn::LoadU(kLevels, alpha + at), zero), full);
        hn::StoreU(maximum, kLevels, alpha + at);
        for (std::int16_t* colour : {blue, green, red}) {
            hn::StoreU(hn::Min(hn::Max(hn::LoadU(kLevels, colour + at), zero), maximum), kLevels, colour + at);
        }
    }
}

void mixLevels(const MixFactors& factors, const std::int16_t* a, const std::int16_t* b, const std::int16_t* c,
               int count, std::int16_t* result) {
    const auto ka = hn::Set(kLevels, factors.a);
    const auto kb = hn::Set(kLevels, factors.b);
    const auto kc = hn::Set(kLevels, factors.c);
    for (int at = 0; at < count; at += kLanes) {
        auto sum = hn::MulFixedPoint15(hn::LoadU(kLevels, a + at), ka);
        sum = hn::Add(sum, hn::MulFixedPoint15(hn::LoadU(kLevels, b + at), kb));
        sum = hn::Add(sum, hn::MulFixedPoint15(hn::LoadU(kLevels, c + at), kc));
        hn::StoreU(factors.timesFour ? hn::ShiftLeft<2>(sum) : sum, kLevels, result + at);
    }
}

// A level of 0...kFullLevel as a factor of 0...32767/32768: 8160 * 4 + 8160 * 514 / 32768 is one more than the most,
// which saturates; multiplied with a level, the missing 32768th part is rounded away.
HWY_INLINE LevelVector asFactor(LevelVector level) {
    const auto rest = hn::MulFixedPoint15(level, hn::Set(kLevels, std::int16_t{514}));
    return hn::SaturatedAdd(hn::ShiftLeft<2>(level), rest);
}

void multiplyLevels(std::int16_t* levels, const std::int16_t* factors, int count) {
    changeExactly(levels, count, [&](int at, LevelVector level) HWY_ATTR {
        return hn::MulFixedPoint15(level, asFactor(hn::LoadU(kLevels, factors + at)));
    });
}

void scaleLevels(std::int16_t* levels, int factor, int count) {
    const auto scale = asFactor(hn::Set(kLevels, static_cast<std::int16_t>(factor)));
    changeExactly(levels, count, [&](int, LevelVector level) HWY_ATTR { return hn::MulFixedPoint15(level, scale); });
}

void blendLevels(std::int16_t* destination, const std::int16_t* source, const std::int16_t* alpha, int count) {
    const auto full = hn::Set(kLevels, static_cast<std::int16_t>(kFullLevel));
    const auto behind = [&](int at, LevelVector level) HWY_ATTR {
        return hn::MulFixedPoint15(level, asFactor(hn::Sub(full, hn::LoadU(kLevels, alpha + at))));
    };
    if (source == nullptr) return changeExactly(destination, count, behind);
    changeExactly(destination, count, [&](int at, LevelVector level) HWY_ATTR {
        return hn::Add(hn::LoadU(kLevels, source + at), behind(at, level));
    });
}

// Levels as bytes; the first kLanes of the result.
HWY_INLINE auto asBytes(LevelVector levels, int offset) {
    const hn::Rebind<std::uint8_t, Levels> narrow;
    const auto rounded = hn::Add(levels, hn::Set(kLevels, static_cast<std::int16_t>(offset * 32 + 16)));
    return hn::DemoteTo(narrow, hn::ShiftRight<5>(rounded));
}

void storePlane(const std::int16_t* levels, int offset, std::uint8_t* bytes, int count) {
    const hn::Rebind<std::uint8_t, Levels> narrow;
    int at = 0;
    for (; at + kLanes <= count; at += kLanes) {
        hn::StoreU(asBytes(hn::LoadU(kLevels, levels + at), offset), narrow, bytes + at);
    }
    if (at < count) {
        HWY_ALIGN std::uint8_t rest[16];
        hn::StoreU(asBytes(hn::LoadU(kLevels, levels + at), offset), narrow, rest);
        std::memcpy(bytes + at, rest, static_cast<std::size_t>(count - at));
    }
}

void storeBgra(const std::int16_t* blue, const std::int16_t* green, const std::int16_t* red, const std::int16_t* alpha,
               std::uint8_t* pixels, int count) {
    const hn::Rebind<std::uint8_t, Levels> narrow;
    HWY_ALIGN std::uint8_t rest[64];
    for (int at = 0; at < count; at += kLanes) {
        const bool whole = at + kLanes <= count;
        hn::StoreInterleaved4(asBytes(hn::LoadU(kLevels, blue + at), 0), asBytes(hn::LoadU(kLevels, green + at), 0),
                              asBytes(hn::LoadU(kLevels, red + at), 0), asBytes(hn::LoadU(kLevels, alpha + at), 0),
                              narrow, whole ? pixels + at * 4 : rest);
        if (!whole) std::memcpy(pixels + at * 4, rest, static_cast<std::size_t>(count - at) * 4);
    }
}

void splitBgra(const std::uint8_t* pixels, std::uint8_t* blue, std::uint8_t* green, std::uint8_t* red,
               std::uint8_t* alpha, int count) {
    int at = 0;
#if HWY_TARGET != HWY_SCALAR
    for (; at + 16 <= count; at += 16) {
        hn::Vec<Run> channels[4];
        hn::LoadInterleaved4(kRun, pixels + at * 4, channels[0], channels[1], channels[2], channels[3]);
        hn::StoreU(channels[0], kRun, blue + at);
        hn::StoreU(channels[1], kRun, green + at);
        hn::StoreU(channels[2], kRun, red + at);
        hn::StoreU(channels[3], kRun, alpha + at);
    }
#endif
    for (; at < count; ++at) {
        blue[at] = pixels[at * 4];
        green[at] = pixels[at * 4 + 1];
        red[at] = pixels[at * 4 + 2];
        alpha[at] = pixels[at * 4 + 3];
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace lumivastor::imaging
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lumivastor::imaging {

HWY_EXPORT(widenRow);
HWY_EXPORT(filterRow);
HWY_EXPORT(combineRows);
HWY_EXPORT(addToLevels);
HWY_EXPORT(limitPremultiplied);
HWY_EXPORT(mixLevels);
HWY_EXPORT(multiplyLevels);
HWY_EXPORT(scaleLevels);
HWY_EXPORT(blendLevels);
HWY_EXPORT(storePlane);
HWY_EXPORT(storeBgra);
HWY_EXPORT(splitBgra);

void widenRow(const std::uint8_t* source, int count, std::int16_t* filtered) {
    HWY_DYNAMIC_DISPATCH(widenRow)(source, count, filtered);
}

void filterRow(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    HWY_DYNAMIC_DISPATCH(filterRow)(table, begin, end, source, filtered);
}

void combineRows(const std::int16_t* const* rows, const std::int16_t* weights, int taps, int count,
                 std::int16_t* levels) {
    HWY_DYNAMIC_DISPATCH(combineRows)(rows, weights, taps, count, levels);
}

void addToLevels(std::int16_t* levels, int amount, int count) {
    HWY_DYNAMIC_DISPATCH(addToLevels)(levels, amount, count);
}

void limitPremultiplied(std::int16_t* blue, std::int16_t* green, std::int16_t* red, std::int16_t* alpha, int count) {
    HWY_DYNAMIC_DISPATCH(limitPremultiplied)(blue, green, red, alpha, count);
}

void mixLevels(const MixFactors& factors, const std::int16_t* a, const std::int16_t* b, const std::int16_t* c,
               int count, std::int16_t* result) {
    HWY_DYNAMIC_DISPATCH(mixLevels)(factors, a, b, c, count, result);
}

void multiplyLevels(std::int16_t* levels, const std::int16_t* factors, int count) {
    HWY_DYNAMIC_DISPATCH(multiplyLevels)(levels, factors, count);
}

void scaleLevels(std::int16_t* levels, int factor, int count) {
    HWY_DYNAMIC_DISPATCH(scaleLevels)(levels, factor, count);
}

void blendLevels(std::int16_t* destination, const std::int16_t* source, const std::int16_t* alpha, int count) {
    HWY_DYNAMIC_DISPATCH(blendLevels)(destination, source, alpha, count);
}

void copyLevels(std::int16_t* destination, const std::int16_t* source, int count) {
    std::memcpy(destination, source, static_cast<std::size_t>(count) * sizeof *source);
}

void storePlane(const std::int16_t* levels, int offset, std::uint8_t* bytes, int count) {
    HWY_DYNAMIC_DISPATCH(storePlane)(levels, offset, bytes, count);
}

void storeBgra(const std::int16_t* blue, const std::int16_t* green, const std::int16_t* red, const std::int16_t* alpha,
               std::uint8_t* pixels, int count) {
    HWY_DYNAMIC_DISPATCH(storeBgra)(blue, green, red, alpha, pixels, count);
}

void splitBgra(const std::uint8_t* pixels, std::uint8_t* blue, std::uint8_t* green, std::uint8_t* red,
               std::uint8_t* alpha, int count) {
    HWY_DYNAMIC_DISPATCH(splitBgra)(pixels, blue, green, red, alpha, count);
}

}  // namespace lumivastor::imaging
#endif
