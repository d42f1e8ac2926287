// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/planar_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "base/precondition.h"
#include "imaging/yuv_coefficients.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/painting/planar_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef LUMI_PLANAR_KERNELS_ONCE
#define LUMI_PLANAR_KERNELS_ONCE

namespace lumivastor::imaging {

// What a plane takes of each colour, in units of 1/32768, and what is added in the end, of 255.
struct PlaneWeights {
    std::int16_t blue = 0;
    std::int16_t green = 0;
    std::int16_t red = 0;
    std::int16_t offset = 0;
};

struct PlanarWeights {
    PlaneWeights luma;
    PlaneWeights cb;
    PlaneWeights cr;
};

// Two rows added up, pixel by pixel, blue beside red and green beside alpha, with room for a pixel before the first.
struct RowSums {
    std::vector<std::uint32_t> blueRed;
    std::vector<std::uint32_t> greenAlpha;
};

// Two full pixels after the filter across columns, whose weights add up to 32.
constexpr std::int16_t kFullSum = 32 * 2 * 255;

// How many pixels lie around a row of sums, so that whole vectors may be read: the filter's before it, and those
// behind.
constexpr std::size_t kSumsBefore = 16;
constexpr std::size_t kSumsBehind = 64;
constexpr int kReach = 3;  // of the filter, in pixels to either side

}  // namespace lumivastor::imaging

#endif

HWY_BEFORE_NAMESPACE();
namespace lumivastor::imaging {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

using Pixels = hn::CappedTag<std::uint32_t, 16>;
using Halves = hn::Repartition<std::int16_t, Pixels>;
using Bytes = hn::Rebind<std::uint8_t, Pixels>;
constexpr Pixels kPixels;
constexpr Halves kHalves;
constexpr Bytes kBytes;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(Pixels()));
using PixelVector = hn::Vec<Pixels>;
using HalfVector = hn::Vec<Halves>;

struct PairWeights {
    HalfVector blueRed;
    HalfVector greenAlpha;
    PixelVector offset;
};

HWY_INLINE HalfVector pairOf(std::int16_t low, std::int16_t high) {
    const std::uint32_t both =
        static_cast<std::uint16_t>(low) | static_cast<std::uint32_t>(static_cast<std::uint16_t>(high)) << 16;
    return hn::BitCast(kHalves, hn::Set(kPixels, both));
}

HWY_INLINE PairWeights pairWeights(const PlaneWeights& weights) {
    return {pairOf(weights.blue, weights.red), pairOf(weights.green, 0),
            hn::Set(kPixels, static_cast<std::uint32_t>(weights.offset * 128 + 64))};
}

// One byte for each pixel, from colours with 7 bits of fraction.
HWY_INLINE hn::Vec<Bytes> weighted(HalfVector blueRed, HalfVector greenAlpha, const PairWeights& weights) {
    const auto pairs = hn::BitCast(kPixels, hn::Add(hn::MulFixedPoint15(blueRed, weights.blueRed),
                                                    hn::MulFixedPoint15(greenAlpha, weights.greenAlpha)));
    // The halves of a pair are added up with their signs; the offset makes the sum positive.
    const auto low = hn::ShiftRight<16>(hn::BitCast(hn::RebindToSigned<Pixels>(), hn::ShiftLeft<16>(pairs)));
    const auto high = hn::ShiftRight<16>(hn::BitCast(hn::RebindToSigned<Pixels>(), pairs));
    const auto offset = hn::BitCast(hn::RebindToSigned<Pixels>(), weights.offset);
    return hn::DemoteTo(kBytes, hn::ShiftRight<7>(hn::Add(hn::Add(low, high), offset)));
}

HWY_INLINE void storeUpTo(hn::Vec<Bytes> bytes, std::uint8_t* target, int count) {
    if (count >= kLanes) {
        hn::StoreU(bytes, kBytes, target);
        return;
    }
    HWY_ALIGN std::uint8_t rest[kLanes];
    hn::Store(bytes, kBytes, rest);
    std::memcpy(target, rest, static_cast<std::size_t>(count));
}

// Luma of two rows, and the sums of their colours. Rows are readable in whole vectors.
void convertRows(const std::uint8_t* upper, const std::uint8_t* lower, int width, const PlanarWeights& weights,
                 std::uint8_t* upperLuma, std::uint8_t* lowerLuma, std::uint32_t* blueRedSums,
                 std::uint32_t* greenAlphaSums) {
    const PairWeights luma = pairWeights(weights.luma);
    const auto mask = hn::Set(kPixels, 0x00ff00ffU);
    for (int x = 0; x < width; x += kLanes) {
        const auto up = hn::LoadU(kPixels, reinterpret_cast<const std::uint32_t*>(upper) + x);
        const auto down = hn::LoadU(kPixels, reinterpret_cast<const std::uint32_t*>(lower) + x);
        const auto upBlueRed = hn::BitCast(kHalves, hn::And(up, mask));
        const auto upGreenAlpha = hn::BitCast(kHalves, hn::And(hn::ShiftRight<8>(up), mask));
        const auto downBlueRed = hn::BitCast(kHalves, hn::And(down, mask));
        const auto downGreenAlpha = hn::BitCast(kHalves, hn::And(hn::ShiftRight<8>(down), mask));
        storeUpTo(weighted(hn::ShiftLeft<7>(upBlueRed), hn::ShiftLeft<7>(upGreenAlpha), luma), upperLuma + x,
                  width - x);
        storeUpTo(weighted(hn::ShiftLeft<7>(downBlueRed), hn::ShiftLeft<7>(downGreenAlpha), luma), lowerLuma + x,
                  width - x);
        hn::StoreU(hn::BitCast(kPixels, hn::Add(upBlueRed, downBlueRed)), kPixels, blueRedSums + x);
        hn::StoreU(hn::BitCast(kPixels, hn::Add(upGreenAlpha, downGreenAlpha)), kPixels, greenAlphaSums + x);
    }
}

// Every other pixel from `sums` on, low-passed across columns, with 7 bits of fraction.
HWY_INLINE HalfVector spread(const std::uint32_t* sums) {
    const auto everyOther = [](const std::uint32_t* from) HWY_ATTR {
        const auto first = hn::LoadU(kPixels, from);
        return hn::BitCast(kHalves, hn::ConcatEven(kPixels, hn::LoadU(kPixels, from + kLanes), first));
    };
    const auto near = hn::Add(everyOther(sums - 1), everyOther(sums + 1));
    const auto far = hn::Add(everyOther(sums - 3), everyOther(sums + 3));
    const auto centre = hn::Add(hn::ShiftLeft<4>(everyOther(sums)), hn::Add(hn::ShiftLeft<3>(near), near));
    const auto sum = hn::Max(hn::Sub(centre, far), hn::Zero(kHalves));
    return hn::ShiftLeft<1>(hn::Min(sum, hn::Set(kHalves, kFullSum)));
}

void convertSums(const std::uint32_t* blueRedSums, const std::uint32_t* greenAlphaSums, int count,
                 const PlanarWeights& weights, std::uint8_t* cb, std::uint8_t* cr) {
    const PairWeights blue = pairWeights(weights.cb);
    const PairWeights red = pairWeights(weights.cr);
    for (int x = 0; x < count; x += kLanes) {
        const auto blueRed = spread(blueRedSums + std::ptrdiff_t{2} * x);
        const auto greenAlpha = spread(greenAlphaSums + std::ptrdiff_t{2} * x);
        storeUpTo(weighted(blueRed, greenAlpha, blue), cb + x, count - x);
        storeUpTo(weighted(blueRed, greenAlpha, red), cr + x, count - x);
    }
}

#else

// The product of the vectors' 16-bit fixed-point multiplication.
inline int product(int value, int weight) {
    return (value * weight + (1 << 14)) >> 15;
}

inline std::uint8_t weighted(int blue, int green, int red, const PlaneWeights& weights) {
    const int sum = product(blue, weights.blue) + product(green, weights.green) + product(red, weights.red);
    return static_cast<std::uint8_t>(std::clamp((sum + weights.offset * 128 + 64) >> 7, 0, 255));
}

void convertRows(const std::uint8_t* upper, const std::uint8_t* lower, int width, const PlanarWeights& weights,
                 std::uint8_t* upperLuma, std::uint8_t* lowerLuma, std::uint32_t* blueRedSums,
                 std::uint32_t* greenAlphaSums) {
    for (int x = 0; x < width; ++x, upper += 4, lower += 4) {
        upperLuma[x] = weighted(upper[0] << 7, upper[1] << 7, upper[2] << 7, weights.luma);
        lowerLuma[x] = weighted(lower[0] << 7, lower[1] << 7, lower[2] << 7, weights.luma);
        const auto sum = [&](int low, int high) {
            return static_cast<std::uint32_t>(upper[low] + lower[low]) |
                   static_cast<std::uint32_t>(upper[high] + lower[high]) << 16;
        };
        blueRedSums[x] = sum(0, 2);
        greenAlphaSums[x] = sum(1, 3);
    }
}

void convertSums(const std::uint32_t* blueRedSums, const std::uint32_t* greenAlphaSums, int count,
                 const PlanarWeights& weights, std::uint8_t* cb, std::uint8_t* cr) {
    for (int x = 0; x < count; ++x, blueRedSums += 2, greenAlphaSums += 2) {
        const auto spread = [](const std::uint32_t* sums, int shift) {
            const auto at = [&](int i) { return static_cast<int>(sums[i] >> shift & 0xffff); };
            const int sum = 16 * at(0) + 9 * (at(-1) + at(1)) - at(-3) - at(3);
            return std::clamp(sum, 0, int{kFullSum}) << 1;
        };
        const int blue = spread(blueRedSums, 0);
        const int red = spread(blueRedSums, 16);
        const int green = spread(greenAlphaSums, 0);
        cb[x] = weighted(blue, green, red, weights.cb);
        cr[x] = weighted(blue, green, red, weights.cr);
    }
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace lumivastor::imaging
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lumivastor::imaging {

HWY_EXPORT(convertRows);
HWY_EXPORT(convertSums);

namespace {

std::int16_t inUnits(double weight) {
    constexpr double kUnits = 1 << 15;
    return static_cast<std::int16_t>(std::lround(weight * kUnits));
}

PlanarWeights weightsOf(const YuvEncoding& encoding) {
    const YuvCoefficients yuv(encoding);
    // Green takes what the others leave, so that white and greys come out exactly.
    const auto plane = [](double ofBlue, double ofRed, double sum, int offset) {
        PlaneWeights weights;
        weights.blue = inUnits(ofBlue);
        weights.red = inUnits(ofRed);
        weights.green = static_cast<std::int16_t>(std::lround(sum * (1 << 15)) - weights.blue - weights.red);
        weights.offset = static_cast<std::int16_t>(offset);
        return weights;
    };
    PlanarWeights weights;
    const double blue = yuv.lumaBlue;
    const double red = yuv.lumaRed;
    const double chroma = yuv.chromaScale;
    weights.luma = plane(blue * yuv.lumaScale, red * yuv.lumaScale, yuv.lumaScale, static_cast<int>(yuv.lumaOffset));
    weights.cb = plane(0.5 * chroma, -red / (2 * (1 - blue)) * chroma, 0, 128);
    weights.cr = plane(-blue / (2 * (1 - red)) * chroma, 0.5 * chroma, 0, 128);
    return weights;
}

}  // namespace

void convertToPlanar(const BgraPremultipliedBuffer& source, const YuvDestination& destination) {
    convertToPlanar(source, destination, {0, 0, destination.width, destination.height});
}

PixelRect convertedArea(const PixelRect& changed, int width, int height) {
    const PixelRect inside = intersection(changed, {0, 0, width, height});
    if (inside.isEmpty()) return {};
    // The chroma sample at column x takes the pixels 2x - kReach to 2x + kReach.
    const int left = std::max(0, (inside.x - kReach + 1) & ~1);
    const int right = std::min(width, ((inside.maxX() - 1 + kReach) & ~1) + 2);
    const int top = inside.y & ~1;
    const int bottom = std::min(height, (inside.maxY() + 1) & ~1);
    return {left, top, right - left, bottom - top};
}

void convertToPlanar(const BgraPremultipliedBuffer& source, const YuvDestination& destination, const PixelRect& area) {
    precondition(source.width() == destination.width && source.height() == destination.height, "pictures of one size");
    precondition(area.x % 2 == 0 && area.y % 2 == 0, "an area of whole chroma samples");
    const PlanarWeights weights = weightsOf(destination.encoding);
    const int width = destination.width;
    const int height = destination.height;
    // What the chroma samples need, in whole vectors: those may be read within a row.
    constexpr int kVector = 16;
    const int left = std::max(0, area.x - kReach) / kVector * kVector;
    const int right = std::min(width, (area.maxX() + kReach + kVector - 1) / kVector * kVector);
    const int chromaLeft = area.x / 2;
    const int chromaCount = (area.maxX() + 1) / 2 - chromaLeft;
    RowSums sums;
    sums.blueRed.resize(kSumsBefore + static_cast<std::size_t>(width) + kSumsBehind);
    sums.greenAlpha.resize(sums.blueRed.size());
    std::uint32_t* const blueRed = sums.blueRed.data() + kSumsBefore;
    std::uint32_t* const greenAlpha = sums.greenAlpha.data() + kSumsBefore;
    for (int y = area.y; y < area.maxY(); y += 2) {
        const int below = std::min(y + 1, height - 1);
        std::uint8_t* const luma = destination.luma + y * destination.lumaStride + left;
        HWY_DYNAMIC_DISPATCH(convertRows)
        (source.pixel(left, y), source.pixel(left, below), right - left, weights, luma,
         luma + (below - y) * destination.lumaStride, blueRed + left, greenAlpha + left);
        for (std::uint32_t* const row : {blueRed, greenAlpha}) {
            std::fill_n(row - kReach, kReach, row[0]);
            std::fill_n(row + width, kReach, row[width - 1]);
        }
        const std::ptrdiff_t colours = y / 2 * destination.chromaStride + chromaLeft;
        HWY_DYNAMIC_DISPATCH(convertSums)
        (blueRed + area.x, greenAlpha + area.x, chromaCount, weights, destination.cb + colours,
         destination.cr + colours);
    }
}

void convertToPlanarPlainly(const BgraPremultipliedBuffer& source, const YuvDestination& destination) {
    const PlanarWeights weights = weightsOf(destination.encoding);
    constexpr int kFilter[] = {-1, 0, 9, 16, 9, 0, -1};
    const auto sample = [](double blue, double green, double red, const PlaneWeights& plane) {
        const double sum = (blue * plane.blue + green * plane.green + red * plane.red) / (1 << 15) + plane.offset;
        return static_cast<std::uint8_t>(std::clamp(std::lround(sum), 0L, 255L));
    };
    for (int y = 0; y < destination.height; ++y) {
        for (int x = 0; x < destination.width; ++x) {
            const std::uint8_t* const pixel = source.pixel(x, y);
            destination.luma[y * destination.lumaStride + x] = sample(pixel[0], pixel[1], pixel[2], weights.luma);
        }
    }
    for (int y = 0; y < (destination.height + 1) / 2; ++y) {
        for (int x = 0; x < (destination.width + 1) / 2; ++x) {
            const auto filtered = [&](int channel) {
                double sum = 0;
                for (const int row : {2 * y, std::min(2 * y + 1, destination.height - 1)}) {
                    for (int i = -kReach; i <= kReach; ++i) {
                        const int column = std::clamp(2 * x + i, 0, destination.width - 1);
                        sum += kFilter[i + kReach] * source.pixel(column, row)[channel];
                    }
                }
                return std::clamp(sum / 64, 0.0, 255.0);
            };
            const double blue = filtered(0);
            const double green = filtered(1);
            const double red = filtered(2);
            const std::ptrdiff_t at = y * destination.chromaStride + x;
            destination.cb[at] = sample(blue, green, red, weights.cb);
            destination.cr[at] = sample(blue, green, red, weights.cr);
        }
    }
}

}  // namespace lumivastor::imaging
#endif
