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

// Up to 32 levels at a time: rows have room for whole vectors.
using Levels = hn::CappedTag<std::int16_t, 32>;
constexpr Levels kLevels;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(Levels()));
using LevelVector = hn::Vec<Levels>;

#if HWY_TARGET == HWY_SCALAR

// Without vectors: the same products, rounded alike.
void filterBlocks(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    for (int sample = begin; sample < end; ++sample) {
        const int limited = std::min(sample, table.count - 1);
        const std::uint8_t* from = source + table.first[static_cast<std::size_t>(limited)];
        int sum = 0;
        for (int tap = 0; tap < table.taps; ++tap) {
            sum += ((from[tap] - 128) * 256 * table.weight(limited, tap) + (1 << 14)) >> 15;
        }
        filtered[sample - begin] = static_cast<std::int16_t>(sum);
    }
}

#else

// A block at a time where the machine has such vectors, else a half of it.
using Block = hn::CappedTag<std::int16_t, 16>;
using BlockBytes = hn::Repartition<std::uint8_t, Block>;
using Run = hn::FixedTag<std::uint8_t, 16>;
constexpr Block kBlock;
constexpr BlockBytes kBlockBytes;
constexpr Run kRun;
constexpr int kBlockLanes = static_cast<int>(hn::MaxLanes(Block()));

// The runs of a half, or of both halves.
template <class D, hwy::EnableIf<D::kPrivateN == 16>* = nullptr>
HWY_INLINE hn::Vec<Run> loadRuns(D, const std::uint8_t* source, const int* starts) {
    return hn::LoadU(kRun, source + starts[0]);
}
template <class D, hwy::EnableIf<D::kPrivateN == 32>* = nullptr>
HWY_INLINE hn::Vec<D> loadRuns(D d, const std::uint8_t* source, const int* starts) {
    return hn::Combine(d, hn::LoadU(kRun, source + starts[1]), hn::LoadU(kRun, source + starts[0]));
}

// `Taps` of 0 stands for any number. The runs of compact tables are read once for all taps, whose picks follow each
// other.
template <int Taps>
HWY_INLINE void filterCompact(const AxisTable& table, int begin, int end, const std::uint8_t* source,
                              std::int16_t* filtered) {
    const int taps = Taps > 0 ? Taps : table.taps;
    const auto turned = hn::Set(kBlockBytes, std::uint8_t{128});
    const auto nextPick = hn::Set(kBlock, std::int16_t{256});
    const int* starts = table.runStart.data() + begin / 8;
    const std::uint8_t* allPicks = table.picks.data() + std::ptrdiff_t{begin} * 2;
    const std::int16_t* weights = table.weights.data() + std::ptrdiff_t{begin} * taps;
    for (int block = begin; block < end; block += 16) {
        for (int at = 0; at < 16; at += kBlockLanes) {
            const auto runs = hn::Xor(loadRuns(kBlockBytes, source, starts + at / 8), turned);
            auto picks = hn::BitCast(kBlock, hn::LoadU(kBlockBytes, allPicks + at * 2));
            auto sum = hn::Zero(kBlock);
            for (int tap = 0; tap < taps; ++tap) {
                const auto samples = hn::TableLookupBytesOr0(runs, hn::BitCast(kBlockBytes, picks));
                sum = hn::Add(
                    sum, hn::MulFixedPoint15(hn::BitCast(kBlock, samples), hn::LoadU(kBlock, weights + tap * 16 + at)));
                picks = hn::Add(picks, nextPick);
            }
            hn::StoreU(sum, kBlock, filtered + at);
        }
        starts += 2;
        allPicks += 32;
        weights += std::ptrdiff_t{taps} * 16;
        filtered += 16;
    }
}

// Picks of other tables come from several runs, or from runs that move with the taps. They leave the lower byte of each
// sample 0, so that only the highest bit needs to be turned to get samples less 128 with 8 bits of fraction.
template <int Runs>
void filterScattered(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    const int taps = table.taps;
    const auto turned = hn::Set(kBlock, std::int16_t{-32768});
    const int* starts = table.runStart.data() + std::ptrdiff_t{begin} / 8 * Runs;
    const std::uint8_t* picks = table.picks.data() + std::ptrdiff_t{begin} * 2 * Runs;
    const std::int16_t* weights = table.weights.data() + std::ptrdiff_t{begin} * taps;
    for (int block = begin; block < end; block += 16) {
        for (int at = 0; at < 16; at += kBlockLanes) {
            auto sum = hn::Zero(kBlock);
            for (int tap = 0; tap < taps; ++tap) {
                auto bytes = hn::Zero(kBlockBytes);
                for (int run = 0; run < Runs; ++run) {
                    const auto runs = loadRuns(kBlockBytes, source + tap, starts + run * 2 + at / 8);
                    const auto picked = hn::LoadU(kBlockBytes, picks + run * 32 + at * 2);
                    bytes = hn::Or(bytes, hn::TableLookupBytesOr0(runs, picked));
                }
                const auto samples = hn::Xor(hn::BitCast(kBlock, bytes), turned);
                sum = hn::Add(sum, hn::MulFixedPoint15(samples, hn::LoadU(kBlock, weights + tap * 16 + at)));
            }
            hn::StoreU(sum, kBlock, filtered + at);
        }
        starts += std::ptrdiff_t{2} * Runs;
        picks += std::ptrdiff_t{32} * Runs;
        weights += std::ptrdiff_t{taps} * 16;
        filtered += 16;
    }
}

void filterBlocks(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    if (table.isCompact && table.taps == 4) return filterCompact<4>(table, begin, end, source, filtered);
    if (table.isCompact && table.taps == 5) return filterCompact<5>(table, begin, end, source, filtered);
    if (table.isCompact) return filterCompact<0>(table, begin, end, source, filtered);
    if (table.runs == 1) return filterScattered<1>(table, begin, end, source, filtered);
    if (table.runs == 2) return filterScattered<2>(table, begin, end, source, filtered);
    if (table.runs == 4) return filterScattered<4>(table, begin, end, source, filtered);
    filterScattered<8>(table, begin, end, source, filtered);
}

#endif

void filterMany(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    for (int sample = begin; sample < end; ++sample) {
        const int limited = std::min(sample, table.count - 1);
        const std::uint8_t* from = source + table.first[static_cast<std::size_t>(limited)];
        std::int32_t sum = 0;
        for (int tap = 0; tap < table.taps; ++tap) sum += (from[tap] - 128) * table.weight(limited, tap);
        filtered[sample - begin] = static_cast<std::int16_t>((sum + (1 << 6)) >> 7);
    }
}

void widenRow(const std::uint8_t* source, int count, std::int16_t* filtered) {
    const hn::Rebind<std::uint8_t, Levels> narrow;
    const auto middle = hn::Set(kLevels, std::int16_t{128});
    for (int at = 0; at < count; at += kLanes) {
        const auto samples = hn::PromoteTo(kLevels, hn::LoadU(narrow, source + at));
        hn::StoreU(hn::ShiftLeft<7>(hn::Sub(samples, middle)), kLevels, filtered + at);
    }
}

void filterRow(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    if (table.taps > kMaxQuickTaps) return filterMany(table, begin, end, source, filtered);
    filterBlocks(table, begin, end, source, filtered);
}

// The products have one bit of fraction more than levels; `offset` is in their units.
template <int Taps>
HWY_INLINE LevelVector combined(const std::int16_t* const* rows, const std::int16_t* weights, int taps, int at,
                                LevelVector offset) {
    const int number = Taps > 0 ? Taps : taps;
    auto sum = offset;
    for (int tap = 0; tap < number; ++tap) {
        sum = hn::Add(sum, hn::MulFixedPoint15(hn::LoadU(kLevels, rows[tap] + at), hn::Set(kLevels, weights[tap])));
    }
    return sum;
}

// Calls `make` for vectors of `count` elements and stores what it returns, the last one further left than whole vectors
// lie, or only as far as the row goes.
template <class D, typename Make>
HWY_INLINE void storeExactly(D d, hn::TFromD<D>* to, int count, const Make& make) {
    int at = 0;
    for (; at + kLanes <= count; at += kLanes) hn::StoreU(make(at), d, to + at);
    if (at == count) return;
    if (count >= kLanes) return hn::StoreU(make(count - kLanes), d, to + count - kLanes);
    HWY_ALIGN hn::TFromD<D> rest[kLanes];
    hn::Store(make(0), d, rest);
    std::memcpy(to, rest, static_cast<std::size_t>(count) * sizeof *rest);
}

template <int Taps>
void combine(const std::int16_t* const* rows, const std::int16_t* weights, int taps, int count, int zero,
             std::int16_t* levels) {
    const auto offset = hn::Set(kLevels, static_cast<std::int16_t>((128 - zero) * 64 + 1));
    storeExactly(kLevels, levels, count,
                 [&](int at) HWY_ATTR { return hn::ShiftRight<1>(combined<Taps>(rows, weights, taps, at, offset)); });
}

// Rounded as levels and then as bytes are.
template <int Taps>
void combineBytes(const std::int16_t* const* rows, const std::int16_t* weights, int taps, int count, int zero,
                  int offset, std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, Levels> narrow;
    const auto added = hn::Set(kLevels, static_cast<std::int16_t>((128 - zero + offset) * 64 + 33));
    storeExactly(narrow, bytes, count, [&](int at) HWY_ATTR {
        return hn::DemoteTo(narrow, hn::ShiftRight<6>(combined<Taps>(rows, weights, taps, at, added)));
    });
}

void combineRows(const std::int16_t* const* rows, const std::int16_t* weights, int taps, int count, int zero,
                 std::int16_t* levels) {
    if (taps > kMaxQuickTaps) {
        for (int at = 0; at < count; ++at) {
            std::int32_t sum = 0;
            for (int tap = 0; tap < taps; ++tap) sum += rows[tap][at] * weights[tap];
            levels[at] = static_cast<std::int16_t>(((sum + (1 << 15)) >> 16) + (128 - zero) * 32);
        }
        return;
    }
    if (taps == 1) return combine<1>(rows, weights, taps, count, zero, levels);
    if (taps == 4) return combine<4>(rows, weights, taps, count, zero, levels);
    if (taps == 5) return combine<5>(rows, weights, taps, count, zero, levels);
    combine<0>(rows, weights, taps, count, zero, levels);
}

template <int Taps>
void storeRowsOf(const RowRing& ring, const AxisTable& down, int begin, int end, int count, int zero, int offset,
                 std::uint8_t* bytes, std::ptrdiff_t bytesStride) {
    const std::int16_t* rows[kMaxQuickTaps];
    std::int16_t weights[kMaxQuickTaps];
    const int taps = Taps > 0 ? Taps : down.taps;
    for (int row = begin; row < end; ++row, bytes += bytesStride) {
        const int first = down.first[static_cast<std::size_t>(row)];
        for (int tap = 0; tap < taps; ++tap) {
            rows[tap] = ring.samples + ((first + tap) & ring.mask) * ring.stride;
            weights[tap] = down.weight(row, tap);
        }
        combineBytes<Taps>(rows, weights, taps, count, zero, offset, bytes);
    }
}

void storeRows(const RowRing& ring, const AxisTable& down, int begin, int end, int count, int zero, int offset,
               std::uint8_t* bytes, std::ptrdiff_t bytesStride) {
    if (down.taps == 1) return storeRowsOf<1>(ring, down, begin, end, count, zero, offset, bytes, bytesStride);
    if (down.taps == 4) return storeRowsOf<4>(ring, down, begin, end, count, zero, offset, bytes, bytesStride);
    if (down.taps == 5) return storeRowsOf<5>(ring, down, begin, end, count, zero, offset, bytes, bytesStride);
    storeRowsOf<0>(ring, down, begin, end, count, zero, offset, bytes, bytesStride);
}

void levelsOfBytes(const std::uint8_t* bytes, int count, int zero, std::int16_t* levels) {
    if (count < kLanes) {
        for (int at = 0; at < count; ++at) levels[at] = static_cast<std::int16_t>((bytes[at] - zero) * 32);
        return;
    }
    const hn::Rebind<std::uint8_t, Levels> narrow;
    const auto zeros = hn::Set(kLevels, static_cast<std::int16_t>(zero));
    storeExactly(kLevels, levels, count, [&](int at) HWY_ATTR {
        return hn::ShiftLeft<5>(hn::Sub(hn::PromoteTo(kLevels, hn::LoadU(narrow, bytes + at)), zeros));
    });
}

void addToBytes(const std::uint8_t* bytes, int amount, int count, std::uint8_t* sums) {
    if (count < kLanes) {
        for (int at = 0; at < count; ++at) sums[at] = static_cast<std::uint8_t>(std::min(bytes[at] + amount, 255));
        return;
    }
    const hn::Rebind<std::uint8_t, Levels> narrow;
    const auto added = hn::Set(narrow, static_cast<std::uint8_t>(amount));
    storeExactly(narrow, sums, count,
                 [&](int at) HWY_ATTR { return hn::SaturatedAdd(hn::LoadU(narrow, bytes + at), added); });
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

void limitAlpha(std::int16_t* alpha, int count) {
    const auto full = hn::Set(kLevels, static_cast<std::int16_t>(kFullLevel));
    for (int at = 0; at < count; at += kLanes) {
        hn::StoreU(hn::Min(hn::Max(hn::LoadU(kLevels, alpha + at), hn::Zero(kLevels)), full), kLevels, alpha + at);
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
    storeExactly(narrow, bytes, count,
                 [&](int at) HWY_ATTR { return asBytes(hn::LoadU(kLevels, levels + at), offset); });
}

void storeBgra(const std::int16_t* blue, const std::int16_t* green, const std::int16_t* red, const std::int16_t* alpha,
               std::uint8_t* pixels, int count) {
    const hn::Rebind<std::uint8_t, Levels> narrow;
    HWY_ALIGN std::uint8_t rest[kLanes * 4];
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

void alphaOf(const std::uint8_t* pixels, std::uint8_t* alpha, int count) {
    const hn::CappedTag<std::uint32_t, 8> d;
    const int lanes = static_cast<int>(hn::Lanes(d));
    int at = 0;
    for (; at + lanes <= count; at += lanes) {
        const auto some = hn::LoadU(d, reinterpret_cast<const std::uint32_t*>(pixels) + at);
        hn::StoreU(hn::U8FromU32(hn::ShiftRight<24>(some)), hn::Rebind<std::uint8_t, decltype(d)>(), alpha + at);
    }
    for (; at < count; ++at) alpha[at] = pixels[at * 4 + 3];
}

std::uint32_t unitedPixels(const std::uint8_t* pixels, int count) {
    const hn::CappedTag<std::uint32_t, 16> d;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const auto* from = reinterpret_cast<const std::uint32_t*>(pixels);
    auto all = hn::Zero(d);
    int at = 0;
    for (; at + lanes <= count; at += lanes) all = hn::Or(all, hn::LoadU(d, from + at));
    std::uint32_t each[16];
    hn::StoreU(all, d, each);
    std::uint32_t bits = 0;
    for (int lane = 0; lane < lanes; ++lane) bits |= each[lane];
    for (; at < count; ++at) bits |= from[at];
    return bits;
}

void averageSquares(const std::uint16_t* lower, const std::uint16_t* upper, const SquareParts& parts, int count,
                    std::uint16_t* means) {
    const hn::CappedTag<std::int32_t, 8> d;
    const hn::Rebind<std::uint16_t, decltype(d)> values;
    const hn::Rebind<float, decltype(d)> floats;
    const int pixels = parts.pixels();
    const int next = parts.right + parts.aboveRight > 0 ? 4 : 0;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const int end = count * 4;
    int i = 0;
    for (; i + lanes <= end; i += lanes) {
        const auto product = [&](const std::uint16_t* from, int part) {
            return hn::Mul(hn::PromoteTo(d, hn::LoadU(values, from + i)), hn::Set(d, part));
        };
        const auto sum = hn::Add(hn::Add(hn::Add(product(lower, parts.here), product(lower + next, parts.right)),
                                         hn::Add(product(upper, parts.above), product(upper + next, parts.aboveRight))),
                                 hn::Set(d, pixels / 2));
        // Off by one at most, because floats have 24 bits and means 16; the remainder tells.
        const auto near =
            hn::ConvertTo(d, hn::Mul(hn::ConvertTo(floats, sum), hn::Set(floats, 1.0f / static_cast<float>(pixels))));
        const auto rest = hn::Sub(sum, hn::Mul(near, hn::Set(d, pixels)));
        const auto less = hn::VecFromMask(d, hn::Lt(rest, hn::Zero(d)));
        const auto more = hn::VecFromMask(d, hn::Gt(rest, hn::Set(d, pixels - 1)));
        hn::StoreU(hn::DemoteTo(values, hn::Sub(hn::Add(near, less), more)), values, means + i);
    }
    for (; i < end; ++i) {
        const int sum = lower[i] * parts.here + lower[i + next] * parts.right + upper[i] * parts.above +
                        upper[i + next] * parts.aboveRight;
        means[i] = static_cast<std::uint16_t>((sum + pixels / 2) / pixels);
    }
}

void sumBgra(const std::uint8_t* pixels, std::ptrdiff_t stride, int width, int height, std::uint32_t* sums) {
    // Two channels in each lane. A lane adds up one pixel of every row for each vector.
    const hn::CappedTag<std::uint32_t, 8> d;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const auto mask = hn::Set(d, 0x00ff00ffU);
    const int some = std::max(kMaximumSummed / ((width + lanes - 1) / lanes), 1);
    const int whole = width / lanes * lanes;
    const auto restBytes = static_cast<std::size_t>(width - whole) * 4;
    std::uint32_t rest[8] = {};
    for (int begin = 0; begin < height; begin += some) {
        auto blueRed = hn::Zero(d);
        auto greenAlpha = hn::Zero(d);
        const auto add = [&](const std::uint32_t* from) {
            const auto four = hn::LoadU(d, from);
            blueRed = hn::Add(blueRed, hn::And(four, mask));
            greenAlpha = hn::Add(greenAlpha, hn::And(hn::ShiftRight<8>(four), mask));
        };
        for (int y = begin; y < std::min(begin + some, height); ++y) {
            const std::uint8_t* row = pixels + y * stride;
            for (int x = 0; x < whole; x += lanes) add(reinterpret_cast<const std::uint32_t*>(row + x * 4));
            if (restBytes == 0) continue;
            std::memcpy(rest, row + whole * 4, restBytes);
            add(rest);
        }
        std::uint32_t halves[2][8];
        hn::StoreU(blueRed, d, halves[0]);
        hn::StoreU(greenAlpha, d, halves[1]);
        for (int lane = 0; lane < lanes; ++lane) {
            for (int half = 0; half < 2; ++half) {
                sums[half] += halves[half][lane] & 0xffff;
                sums[half + 2] += halves[half][lane] >> 16;
            }
        }
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
HWY_EXPORT(levelsOfBytes);
HWY_EXPORT(addToBytes);
HWY_EXPORT(storeRows);
HWY_EXPORT(limitPremultiplied);
HWY_EXPORT(limitAlpha);
HWY_EXPORT(mixLevels);
HWY_EXPORT(multiplyLevels);
HWY_EXPORT(scaleLevels);
HWY_EXPORT(blendLevels);
HWY_EXPORT(storePlane);
HWY_EXPORT(storeBgra);
HWY_EXPORT(splitBgra);
HWY_EXPORT(alphaOf);
HWY_EXPORT(unitedPixels);
HWY_EXPORT(averageSquares);
HWY_EXPORT(sumBgra);

void widenRow(const std::uint8_t* source, int count, std::int16_t* filtered) {
    HWY_DYNAMIC_DISPATCH(widenRow)(source, count, filtered);
}

void filterRow(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered) {
    HWY_DYNAMIC_DISPATCH(filterRow)(table, begin, end, source, filtered);
}

void combineRows(const std::int16_t* const* rows, const std::int16_t* weights, int taps, int count, int zero,
                 std::int16_t* levels) {
    HWY_DYNAMIC_DISPATCH(combineRows)(rows, weights, taps, count, zero, levels);
}

void levelsOfBytes(const std::uint8_t* bytes, int count, int zero, std::int16_t* levels) {
    HWY_DYNAMIC_DISPATCH(levelsOfBytes)(bytes, count, zero, levels);
}

void addToBytes(const std::uint8_t* bytes, int amount, int count, std::uint8_t* sums) {
    HWY_DYNAMIC_DISPATCH(addToBytes)(bytes, amount, count, sums);
}

void storeRows(const RowRing& ring, const AxisTable& down, int begin, int end, int count, int zero, int offset,
               std::uint8_t* bytes, std::ptrdiff_t bytesStride) {
    HWY_DYNAMIC_DISPATCH(storeRows)(ring, down, begin, end, count, zero, offset, bytes, bytesStride);
}

void limitPremultiplied(std::int16_t* blue, std::int16_t* green, std::int16_t* red, std::int16_t* alpha, int count) {
    HWY_DYNAMIC_DISPATCH(limitPremultiplied)(blue, green, red, alpha, count);
}

void limitAlpha(std::int16_t* alpha, int count) {
    HWY_DYNAMIC_DISPATCH(limitAlpha)(alpha, count);
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

void alphaOf(const std::uint8_t* pixels, std::uint8_t* alpha, int count) {
    HWY_DYNAMIC_DISPATCH(alphaOf)(pixels, alpha, count);
}

std::uint32_t unitedPixels(const std::uint8_t* pixels, int count) {
    return HWY_DYNAMIC_DISPATCH(unitedPixels)(pixels, count);
}

void averageSquares(const std::uint16_t* lower, const std::uint16_t* upper, const SquareParts& parts, int count,
                    std::uint16_t* means) {
    HWY_DYNAMIC_DISPATCH(averageSquares)(lower, upper, parts, count, means);
}

void sumBgra(const std::uint8_t* pixels, std::ptrdiff_t stride, int width, int height, std::uint32_t* sums) {
    HWY_DYNAMIC_DISPATCH(sumBgra)(pixels, stride, width, height, sums);
}

}  // namespace lumivastor::imaging
#endif
