// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>

// The arithmetic that all painters share: the kernel, and where samples sit. Distances are in samples of the source.
// The colours are in imaging/yuv_coefficients.h.

namespace lumivastor::imaging {

/// Catmull-Rom: interpolates (1 at 0, 0 at all other whole numbers, so that an unscaled picture is copied exactly),
/// reaches 2 samples to each side, and keeps text crisp without the visible ringing of longer kernels.
inline constexpr double kKernelReach = 2;

inline double kernelAt(double distance) {
    const double x = std::abs(distance);
    if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
    if (x < 2) return ((-0.5 * x + 2.5) * x - 4) * x + 2;
    return 0;
}

/// The factor by which the kernel is wider than in a magnification: a picture scaled down by s is averaged over 1/s
/// samples. It is never wider than the whole source (`count` samples). Scalings that cancel each other out leave
/// rounding errors, which are no reduction.
inline double kernelWidening(double scale, int count) {
    if (scale < 1 && scale > 1 - 1e-9) return 1;
    return std::clamp(1 / scale, 1.0, std::max(1.0, static_cast<double>(count)));
}

/// The length that two intervals share, never negative.
inline double sharedLength(double firstLow, double firstHigh, double secondLow, double secondHigh) {
    return std::max(0.0, std::min(firstHigh, secondHigh) - std::max(firstLow, secondLow));
}

/// The sample positions of one plane of a destination. Grid coordinates are those of the destination times `scale`,
/// from the top-left. Sample (i, j) sits at (i + offsetX, j + offsetY) and stands for the square of side 1 around it,
/// as far as that lies inside the destination. Chroma of 4:2:0 is a grid of half the scale whose samples sit at
/// the left one of two luma columns, a quarter of their distance off the middle.
struct SampleGrid {
    int columns = 0;
    int rows = 0;
    double scale = 1;
    double offsetX = 0.5;
    double offsetY = 0.5;
    double width = 0;   // of the destination, in grid coordinates
    double height = 0;  // of the destination, in grid coordinates

    static SampleGrid full(int width, int height) {
        return {width, height, 1, 0.5, 0.5, static_cast<double>(width), static_cast<double>(height)};
    }
    static SampleGrid chroma(int width, int height) {
        return {(width + 1) / 2, (height + 1) / 2, 0.5, 0.25, 0.5, width * 0.5, height * 0.5};
    }

    bool operator==(const SampleGrid&) const = default;
};

/// A range of a source's samples along one axis, both ends included.
struct SampleRange {
    int first = 0;
    int last = 0;

    bool operator==(const SampleRange&) const = default;
};

/// The samples of `count` that touch the interval from `low` to `high` (source coordinates); at least one, the nearest.
/// Differences below a millionth of a sample count as rounding errors.
inline SampleRange samplesTouching(double low, double high, int count) {
    const double last = count - 1;
    const double from = std::clamp(std::floor(low + 1e-6), 0.0, last);
    const double to = std::clamp(std::ceil(high - 1e-6) - 1, from, last);
    return {static_cast<int>(from), static_cast<int>(to)};
}

}  // namespace lumivastor::imaging
