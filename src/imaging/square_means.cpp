#include "imaging/square_means.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "imaging/resampling.h"

namespace lumivastor {

namespace {

// Pixels of an axis, of which a square holds at least a part.
struct PixelSpan {
    int begin = 0;
    int end = 0;
};

PixelSpan pixelsUnder(double low, double side, int count) {
    return {static_cast<int>(std::max(low, 0.0)), static_cast<int>(std::min<double>(count, std::ceil(low + side)))};
}

using Sums = std::array<double, 4>;

// Adds a row's pixels, the whole of which count as much as `part`.
void addRow(Sums& sums, const std::uint8_t* row, double left, double side, const PixelSpan& columns, double part) {
    for (int x = columns.begin; x < columns.end; ++x) {
        const double share = part * sharedLength(x, x + 1, left, left + side);
        const std::uint8_t* pixel = row + static_cast<std::ptrdiff_t>(x) * 4;
        for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += share * pixel[i];
    }
}

Sums sumsOf(const BgraPremultipliedBuffer& pixels, double left, double top, double side) {
    const PixelSpan columns = pixelsUnder(left, side, pixels.width());
    const PixelSpan rows = pixelsUnder(top, side, pixels.height());
    Sums sums{};
    for (int y = rows.begin; y < rows.end; ++y) {
        addRow(sums, pixels.row(y), left, side, columns, sharedLength(y, y + 1, top, top + side));
    }
    return sums;
}

}  // namespace

BgraPremultipliedBuffer squareMeans(const BgraPremultipliedBuffer& pixels, std::span<const double> lefts,
                                    std::span<const double> tops, double side) {
    BgraPremultipliedBuffer means(static_cast<int>(lefts.size()), static_cast<int>(tops.size()));
    for (int row = 0; row < means.height(); ++row) {
        std::uint8_t* mean = means.row(row);
        for (const double left : lefts) {
            for (const double sum : sumsOf(pixels, left, tops[static_cast<std::size_t>(row)], side)) {
                *mean++ = static_cast<std::uint8_t>(std::lround(sum / (side * side)));
            }
        }
    }
    return means;
}

}  // namespace lumivastor
