// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// The inner loops of the painter, compiled for several instruction sets and chosen at run time. All arithmetic is on
// 16-bit integers, so that every machine paints the same pixels.
//
// Levels: samples between reading and storing, 255 is 8160 (5 bits of fraction), premultiplied, luma without its offset
// and chroma around 0. Filtered rows, half-way through a resampling, hold samples less 128, with 7 bits of fraction.
// Rows of levels may be read and written up to the next multiple of 32 elements past their end unless a function says
// otherwise.

namespace lumivastor::imaging {

inline constexpr int kFullLevel = 255 * 32;
inline constexpr int kKernelWeightOne = 1 << 14;

/// The source samples that each sample of an axis is computed from. `count` destination samples in blocks of 16; a
/// sample's taps are contiguous from `first` on.
struct AxisTable {
    int count = 0;
    int taps = 0;
    bool contiguous = false;       // one tap of weight 1 each, contiguous: a copy (see widenRow)
    std::vector<int> first;        // per sample
    std::vector<int16_t> weights;  // per block, tap and sample of the block; their sum is kKernelWeightOne

    // For each half of a block: how its 8 samples are picked from runs of 16 bytes.
    int runs = 0;               // of each half
    bool isCompact = false;     // a half's only run holds all of its taps
    std::vector<int> runStart;  // per block, run and half: where it starts for tap 0
    std::vector<uint8_t>
        picks;  // per block, run and half: for each sample 128 and the byte of the run, or 128 for none

    int16_t weight(int sample, int tap) const {
        return weights[(static_cast<std::size_t>(sample / 16) * static_cast<std::size_t>(taps) +
                        static_cast<std::size_t>(tap)) *
                           16 +
                       static_cast<std::size_t>(sample % 16)];
    }
};

/// More taps than this are summed in 32 bits, sample by sample: the rounding of each product would add up.
inline constexpr int kMaxQuickTaps = 24;

/// Filters samples `begin`...`end` (multiples of 16) of an axis from the row `source`, which must be readable for 16
/// bytes past the last tap, into `filtered` (its first element is sample `begin`).
void filterRow(const AxisTable& table, int begin, int end, const std::uint8_t* source, std::int16_t* filtered);

/// The same for a contiguous table: copies `count` bytes. Reads up to 31 bytes past them.
void widenRow(const std::uint8_t* source, int count, std::int16_t* filtered);

/// Levels as the weighted sum of filtered rows; a sample of `zero` (0...128) becomes the level 0. Writes `count`
/// elements exactly.
void combineRows(const std::int16_t* const* rows, const std::int16_t* weights, int taps, int count, int zero,
                 std::int16_t* levels);

/// Levels of `count` bytes that are copied, not filtered; a sample of `zero` becomes the level 0. Reads and writes
/// exactly.
void levelsOfBytes(const std::uint8_t* bytes, int count, int zero, std::int16_t* levels);

/// Filtered rows in a ring, from some column on: row `number` begins at `samples + (number & mask) * stride`.
struct RowRing {
    const std::int16_t* samples = nullptr;
    std::ptrdiff_t stride = 0;
    int mask = 0;
};

/// Stores the rows `begin`...`end` of an axis with at most kMaxQuickTaps: the same bytes as combineRows and storePlane
/// make of the ring. Reads up to 31 elements past the rows' ends, writes `count` bytes of each row exactly.
void storeRows(const RowRing& ring, const AxisTable& down, int begin, int end, int count, int zero, int offset,
               std::uint8_t* bytes, std::ptrdiff_t bytesStride);

/// Clamps alpha to its range, and colours to their alpha.
void limitPremultiplied(std::int16_t* blue, std::int16_t* green, std::int16_t* red, std::int16_t* alpha, int count);

/// Clamps levels to the range of alpha.
void limitAlpha(std::int16_t* alpha, int count);

/// result = (a * ka + b * kb + c * kc) * 2^shift, the factors in units of 1/32768. `result` may be one of the inputs.
struct MixFactors {
    std::int16_t a = 0, b = 0, c = 0;
    bool timesFour = false;
};
void mixLevels(const MixFactors& factors, const std::int16_t* a, const std::int16_t* b, const std::int16_t* c,
               int count, std::int16_t* result);

/// levels *= factors / kFullLevel.
void multiplyLevels(std::int16_t* levels, const std::int16_t* factors, int count);
void scaleLevels(std::int16_t* levels, int factor, int count);

/// destination = source + destination * (1 - alpha). Writes `count` elements exactly; a null source is black.
void blendLevels(std::int16_t* destination, const std::int16_t* source, const std::int16_t* alpha, int count);

/// Adds `amount` to `count` bytes, at most up to 255. Reads and writes exactly.
void addToBytes(const std::uint8_t* bytes, int amount, int count, std::uint8_t* sums);

/// Copies `count` elements exactly.
void copyLevels(std::int16_t* destination, const std::int16_t* source, int count);

/// Stores levels plus `offset` (of 255) as bytes, exactly `count`.
void storePlane(const std::int16_t* levels, int offset, std::uint8_t* bytes, int count);
void storeBgra(const std::int16_t* blue, const std::int16_t* green, const std::int16_t* red, const std::int16_t* alpha,
               std::uint8_t* pixels, int count);

/// Splits `count` pixels into their channels.
void splitBgra(const std::uint8_t* pixels, std::uint8_t* blue, std::uint8_t* green, std::uint8_t* red,
               std::uint8_t* alpha, int count);

/// The alpha of `count` pixels.
void alphaOf(const std::uint8_t* pixels, std::uint8_t* alpha, int count);

/// All bits that any of `count` pixels has, with blue in the lowest byte.
std::uint32_t unitedPixels(const std::uint8_t* pixels, int count);

/// How much of a square its four squares below make up, in pixels. No side is longer than `kMaximumSide`, so that sums
/// fit 31 bits.
struct SquareParts {
    static constexpr int kMaximumSide = 181;
    int here = 0, right = 0, above = 0, aboveRight = 0;

    int pixels() const { return here + right + above + aboveRight; }
};

/// Averages `count` neighbouring squares of four values from two rows of squares below, rounded to nearest. `lower` and
/// `upper` begin with the squares below the first one; those to the right of the last one are read only if `parts`
/// needs them.
void averageSquares(const std::uint16_t* lower, const std::uint16_t* upper, const SquareParts& parts, int count,
                    std::uint16_t* means);

/// Adds up the blue, green, red and alpha of `width` times `height` pixels whose rows lie `stride` bytes apart. At most
/// 257 of each: 16 bits hold their sums in every lane.
inline constexpr int kMaximumSummed = 257;
void sumBgra(const std::uint8_t* pixels, std::ptrdiff_t stride, int width, int height, std::uint32_t* sums);

}  // namespace lumivastor::imaging
