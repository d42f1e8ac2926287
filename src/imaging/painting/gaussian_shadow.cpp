// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/gaussian_shadow.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "imaging/painting/resampling.h"

namespace lumivastor::imaging {

namespace {

// Beyond four standard deviations less than 0.01 % of the mass is left, a fortieth of a step of 255.
constexpr double kReachInSigmas = 4;

// Heights per cell at which the shape's edge is sampled; along the row the coverage is exact.
constexpr int kRowsPerCell = 16;

// A grid of cells of `step` pixels each way, `left` and `top` the pixel position of its corner.
struct Cells {
    int step = 1;
    int left = 0, top = 0;
    int columns = 0, rows = 0;
    std::vector<float> values;

    float* row(int y) { return values.data() + static_cast<std::ptrdiff_t>(y) * columns; }
    const float* row(int y) const { return values.data() + static_cast<std::ptrdiff_t>(y) * columns; }
};

void addCoverage(Cells& cells, const ConvexShape& shape) {
    for (int y = 0; y < cells.rows; ++y) {
        float* row = cells.row(y);
        for (int part = 0; part < kRowsPerCell; ++part) {
            const RowSpan span = shape.spanAt(cells.top + (y + (part + 0.5) / kRowsPerCell) * cells.step);
            if (!(span.left < span.right)) continue;
            const double left = (span.left - cells.left) / cells.step;
            const double right = (span.right - cells.left) / cells.step;
            const int first = std::clamp(static_cast<int>(std::floor(left)), 0, cells.columns);
            const int last = std::clamp(static_cast<int>(std::ceil(right)), 0, cells.columns);
            const auto add = [&](int x) {
                row[x] += static_cast<float>(sharedLength(x, x + 1, left, right) / kRowsPerCell);
            };
            // Only those at the ends are covered in part.
            if (first < last) add(first);
            for (int x = first + 1; x < last - 1; ++x) row[x] += 1.0F / kRowsPerCell;
            if (first + 1 < last) add(last - 1);
        }
    }
}

std::vector<float> gaussianWeights(double sigma) {
    const int reach = static_cast<int>(std::ceil(kReachInSigmas * sigma));
    std::vector<float> weights(static_cast<std::size_t>(2 * reach + 1));
    double sum = 0;
    for (int i = -reach; i <= reach; ++i) sum += std::exp(-0.5 * i * i / (sigma * sigma));
    for (int i = -reach; i <= reach; ++i) {
        weights[static_cast<std::size_t>(i + reach)] =
            static_cast<float>(std::exp(-0.5 * i * i / (sigma * sigma)) / sum);
    }
    return weights;
}

// Both directions; what lies outside of the cells counts as empty. Rows that come out like the one before are copied:
// most of a large shape's are.
void blur(Cells& cells, const std::vector<float>& weights) {
    const int taps = static_cast<int>(weights.size());
    const int reach = taps / 2;
    const auto rowBytes = static_cast<std::size_t>(cells.columns) * sizeof(float);
    std::vector<float> padded(static_cast<std::size_t>(cells.columns + 2 * reach), 0.0F);
    for (int y = 0; y < cells.rows; ++y) {
        float* row = cells.row(y);
        if (y > 0 && std::memcmp(row, padded.data() + reach, rowBytes) == 0) {
            std::memcpy(row, cells.row(y - 1), rowBytes);
            continue;
        }
        std::copy(row, row + cells.columns, padded.begin() + reach);
        std::fill(row, row + cells.columns, 0.0F);
        for (int tap = 0; tap < taps; ++tap) {
            const float weight = weights[static_cast<std::size_t>(tap)];
            const float* from = padded.data() + tap;
            for (int x = 0; x < cells.columns; ++x) row[x] += weight * from[x];
        }
    }
    const std::vector<float> across = cells.values;
    const auto acrossRow = [&](int y) { return across.data() + static_cast<std::ptrdiff_t>(y) * cells.columns; };
    std::fill(cells.values.begin(), cells.values.end(), 0.0F);
    int alike = 0;  // rows up to the next one to be read that are the same
    for (int y = 0, next = 0; y < cells.rows; ++y) {
        for (; next <= std::min(cells.rows - 1, y + reach); ++next) {
            alike = next > 0 && std::memcmp(acrossRow(next), acrossRow(next - 1), rowBytes) == 0 ? alike + 1 : 1;
        }
        float* row = cells.row(y);
        if (y > 0 && y + reach < cells.rows && alike > taps) {
            std::memcpy(row, cells.row(y - 1), rowBytes);
            continue;
        }
        for (int from = std::max(0, y - reach); from <= std::min(cells.rows - 1, y + reach); ++from) {
            const float weight = weights[static_cast<std::size_t>(from - y + reach)];
            const float* source = acrossRow(from);
            for (int x = 0; x < cells.columns; ++x) row[x] += weight * source[x];
        }
    }
}

// Pixel `phase` of a cell's `Step` lies between the middles of the cells from -2 to +1 or from -1 to +2 around it; with
// a fifth cell both cases are one.
template <int Step>
std::array<std::array<float, Step>, 5> interpolationWeights() {
    std::array<std::array<float, Step>, 5> weights{};
    for (int phase = 0; phase < Step; ++phase) {
        const double position = (phase + 0.5) / Step - 0.5;
        for (int cell = -2; cell <= 2; ++cell) {
            weights[static_cast<std::size_t>(cell + 2)][static_cast<std::size_t>(phase)] =
                static_cast<float>(kernelAt(position - cell));
        }
    }
    return weights;
}

struct PixelRange {
    int left = 0, right = 0, top = 0, bottom = 0;
};

// Whether the cells' rows that rows of pixels in `cellRow` are made of are all the same.
bool isFlatDown(const Cells& cells, int cellRow) {
    const auto bytes = static_cast<std::size_t>(cells.columns) * sizeof(float);
    for (int tap = -1; tap <= 2; ++tap) {
        if (std::memcmp(cells.row(cellRow - 2), cells.row(cellRow + tap), bytes) != 0) return false;
    }
    return true;
}

// The same across, for a row of values.
bool isFlatAcross(const float* at) {
    return at[0] == at[1] && at[0] == at[2] && at[0] == at[3] && at[0] == at[4];
}

std::uint32_t blackOf(float value, float full) {
    const float limited = std::min(std::max(value + 0.5F, 0.0F), full + 0.5F);
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(limited)) << 24;
}

template <int Step>
void fillInterpolated(const Cells& cells, const PixelRange& range, double alpha, BgraPremultipliedBuffer& destination) {
    const auto weights = interpolationWeights<Step>();
    const int firstCell = (range.left - cells.left) / Step;
    const int lastCell = (range.right - cells.left + Step - 1) / Step;
    std::vector<float> between(static_cast<std::size_t>(cells.columns));
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>((lastCell - firstCell) * Step));
    const float full = static_cast<float>(255 * alpha);
    bool isFlat = false;  // the last row was: those of its cells, and of the same cells below, are like it
    for (int y = range.top; y < range.bottom; ++y) {
        const int cellRow = (y - cells.top) / Step;
        const auto phase = static_cast<std::size_t>((y - cells.top) % Step);
        const bool isSame = isFlat && (phase != 0 || isFlatDown(cells, cellRow));
        if (!isSame) {
            isFlat = (phase == 0 || y == range.top) && isFlatDown(cells, cellRow);
            std::fill(between.begin(), between.end(), 0.0F);
            for (int tap = 0; tap < 5; ++tap) {
                const float weight = full * weights[static_cast<std::size_t>(tap)][phase];
                const float* row = cells.row(cellRow + tap - 2);
                for (std::size_t x = 0; x < between.size(); ++x) between[x] += weight * row[x];
            }
            std::uint32_t* out = pixels.data();
            for (int cell = firstCell; cell < lastCell; ++cell, out += Step) {
                const float* at = between.data() + cell - 2;
                if (isFlatAcross(at)) {
                    std::fill_n(out, Step, blackOf(at[0], full));
                    continue;
                }
                for (int i = 0; i < Step; ++i) {
                    const auto p = static_cast<std::size_t>(i);
                    out[i] = blackOf(at[0] * weights[0][p] + at[1] * weights[1][p] + at[2] * weights[2][p] +
                                         at[3] * weights[3][p] + at[4] * weights[4][p],
                                     full);
                }
            }
        }
        std::memcpy(destination.pixel(range.left, y), pixels.data() + (range.left - cells.left - firstCell * Step),
                    static_cast<std::size_t>(range.right - range.left) * 4);
    }
}

}  // namespace

void fillGaussianShadow(const ConvexShape& shape, double sigma, double alpha, BgraPremultipliedBuffer& destination) {
    int step = 1;
    while (step < 16 && step * 2 <= sigma / 4) step *= 2;

    // The visible part of the blurred shape's extent.
    const double reach = kReachInSigmas * sigma + 1;
    PixelRange range;
    const auto limited = [](double value, int maximum) {
        return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(maximum)));
    };
    range.left = limited(std::floor(shape.left - reach), destination.width());
    range.right = limited(std::ceil(shape.right + reach), destination.width());
    range.top = limited(std::floor(shape.top - reach), destination.height());
    range.bottom = limited(std::ceil(shape.bottom + reach), destination.height());
    if (range.left >= range.right || range.top >= range.bottom) return;

    // Cells average the shape over their squares, which is a blur of its own with the variance step^2 / 12.
    const double cellSigma = std::sqrt(std::max(sigma * sigma / (step * step) - 1.0 / 12, 0.01));
    const auto weights = gaussianWeights(cellSigma);
    // The margin around the visible part is blurred into it; two more cells are read by the interpolation.
    const int margin = (static_cast<int>(weights.size()) / 2 + 3) * step;
    Cells cells;
    cells.step = step;
    cells.left = range.left - margin;
    cells.top = range.top - margin;
    cells.columns = (range.right + margin - cells.left + step - 1) / step;
    cells.rows = (range.bottom + margin - cells.top + step - 1) / step;
    cells.values.resize(static_cast<std::size_t>(cells.columns) * static_cast<std::size_t>(cells.rows));
    addCoverage(cells, shape);
    blur(cells, weights);
    switch (step) {
        case 1:
            return fillInterpolated<1>(cells, range, alpha, destination);
        case 2:
            return fillInterpolated<2>(cells, range, alpha, destination);
        case 4:
            return fillInterpolated<4>(cells, range, alpha, destination);
        case 8:
            return fillInterpolated<8>(cells, range, alpha, destination);
        default:
            return fillInterpolated<16>(cells, range, alpha, destination);
    }
}

}  // namespace lumivastor::imaging
