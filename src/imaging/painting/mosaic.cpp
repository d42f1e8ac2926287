// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/mosaic.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

#include "imaging/painting/paint_kernels.h"
#include "imaging/yuv_coefficients.h"

namespace lumivastor::imaging {

namespace {

using Sums = std::array<std::uint64_t, 4>;
using Mean = std::array<std::uint16_t, 4>;

constexpr std::uint16_t kOpaque = 255 << 8;

// Waking other threads takes as long as summing some thousands of pixels.
constexpr std::int64_t kPixelsWorthSharing = 1 << 15;
// The cost of a square that covers only other squares, in pixels.
constexpr std::int64_t kPixelsPerSquare = 15;

// The part of the picture without squares.
struct Ground {
    MosaicRect rect;
    BgraPremultipliedBuffer pixels;

    void addTo(Sums& sums, const MosaicRect& part) const {
        for (int bottom = part.bottom; bottom < part.top; bottom += kMaximumSummed) {
            const int top = std::min(bottom + kMaximumSummed, part.top);
            for (int left = part.left; left < part.right; left += kMaximumSummed) {
                std::array<std::uint32_t, 4> some{};
                sumBgra(pixels.pixel(left - rect.left, rect.top - top), static_cast<std::ptrdiff_t>(pixels.stride()),
                        std::min(kMaximumSummed, part.right - left), top - bottom, some.data());
                for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += std::uint64_t{some[i]} << 8;
            }
        }
    }
};

// The picture after all areas before a certain one.
struct MaskedPicture {
    const Ground& ground;
    int side = 1;
    std::vector<const Mosaic*> mosaics;  // the latest first

    // The area that shows on top comes first, and what it leaves free is shared out among the others. Each step deeper
    // is at least a row or a column smaller.
    void addTo(Sums& sums, const MosaicRect& part, std::size_t from = 0) const {
        for (std::size_t i = from; i < mosaics.size(); ++i) {
            const MosaicRect common = shared(part, mosaics[i]->area);
            if (common.isEmpty()) continue;
            addSquares(sums, common, i);
            const MosaicRect rests[] = {{part.left, part.bottom, part.right, common.bottom},
                                        {part.left, common.top, part.right, part.top},
                                        {part.left, common.bottom, common.left, common.top},
                                        {common.right, common.bottom, part.right, common.top}};
            for (const MosaicRect& rest : rests) {
                if (!rest.isEmpty()) addTo(sums, rest, i + 1);
            }
            return;
        }
        ground.addTo(sums, part);
    }

    // Averages the first squares of a row that lie on nothing but squares of the topmost area; returns how many these
    // are. All of them share the same four corners of their four squares below.
    int averageOnTopmost(int left, int bottom, int columns, Mean* means) const {
        if (mosaics.empty() || side > SquareParts::kMaximumSide || !mosaics.front()->isOpaque) return 0;
        const Mosaic& below = *mosaics.front();
        const int across = left - below.area.left;
        const int up = bottom - below.area.bottom;
        if (across < 0 || up < 0 || bottom + side > below.area.top) return 0;
        const int count = std::clamp((below.area.right - left) / side, 0, columns);
        if (count == 0) return 0;
        const int right = across % side;
        const int upper = up % side;
        const SquareParts parts{(side - right) * (side - upper), right * (side - upper), (side - right) * upper,
                                right * upper};
        const Mean* lowerRow = below.means.data() + std::ptrdiff_t{up / side} * below.columns + across / side;
        const Mean* upperRow = lowerRow + (upper > 0 ? below.columns : 0);
        averageSquares(lowerRow->data(), upperRow->data(), parts, count, means->data());
        return count;
    }

    // A part of an area that is in squares already.
    void addSquares(Sums& sums, const MosaicRect& part, std::size_t number) const {
        const Mosaic& mosaic = *mosaics[number];
        const int firstColumn = (part.left - mosaic.area.left) / side;
        int row = (part.bottom - mosaic.area.bottom) / side;
        for (int bottom = part.bottom; bottom < part.top; ++row) {
            const int top = std::min(part.top, mosaic.area.bottom + (row + 1) * side);
            const Mean* mean = mosaic.means.data() + static_cast<std::ptrdiff_t>(row) * mosaic.columns + firstColumn;
            int end = mosaic.area.left + (firstColumn + 1) * side;
            for (int left = part.left; left < part.right; end += side, ++mean) {
                const int right = std::min(part.right, end);
                addSquare(sums, *mean, {left, bottom, right, top}, number);
                left = right;
            }
            bottom = top;
        }
    }

    void addSquare(Sums& sums, const Mean& mean, const MosaicRect& part, std::size_t number) const {
        const auto count = static_cast<std::uint64_t>(part.width()) * static_cast<std::uint64_t>(part.height());
        for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += count * mean[i];
        if (mean[3] == kOpaque) return;
        // What is below is visible. Screens are opaque, so this need not be fast.
        Sums below{};
        addTo(below, part, number + 1);
        for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += below[i] * (kOpaque - mean[3]) / kOpaque;
    }
};

// Pixels of an axis, and how often each of them counts.
struct Stretch {
    int begin = 0;
    int end = 0;
    int times = 0;
};

// Those of a square that begins inside the picture: the last one counts for all beyond it.
std::array<Stretch, 2> stretchesOf(int begin, int side, int last) {
    return {Stretch{begin, std::min(begin + side, last), 1}, Stretch{last - 1, last, std::max(begin + side - last, 0)}};
}

Mean meanOf(const MaskedPicture& picture, const MosaicRect& bounds, int left, int bottom, int side) {
    Sums sums{};
    for (const Stretch& rows : stretchesOf(bottom, side, bounds.top)) {
        for (const Stretch& columns : stretchesOf(left, side, bounds.right)) {
            const auto times = static_cast<std::uint64_t>(rows.times) * static_cast<std::uint64_t>(columns.times);
            if (times == 0) continue;
            Sums part{};
            picture.addTo(part, {columns.begin, rows.begin, columns.end, rows.end});
            for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += part[i] * times;
        }
    }
    const auto pixels = static_cast<std::uint64_t>(side) * static_cast<std::uint64_t>(side);
    Mean mean{};
    for (std::size_t i = 0; i < sums.size(); ++i) {
        mean[i] = static_cast<std::uint16_t>((sums[i] + pixels / 2) / pixels);
    }
    return mean;
}

// What of the earlier mosaics lies under `part`, the latest first, down to one that hides all others.
std::vector<const Mosaic*> mosaicsUnder(const MosaicRect& part, std::span<const Mosaic> earlier) {
    std::vector<const Mosaic*> under;
    for (std::size_t i = earlier.size(); i > 0; --i) {
        const MosaicRect common = shared(part, earlier[i - 1].area);
        if (!common.isEmpty()) under.push_back(&earlier[i - 1]);
        if (common == part && earlier[i - 1].isOpaque) break;
    }
    return under;
}

std::int64_t pixelsIn(const MosaicRect& rect) {
    return std::int64_t{rect.width()} * rect.height();
}

// In pixels that are added up, roughly.
std::int64_t workFor(const MaskedPicture& picture, const MosaicRect& part, const Mosaic& mosaic) {
    const bool isOnSquares = !picture.mosaics.empty() && shared(part, picture.mosaics.back()->area) == part;
    if (isOnSquares) return static_cast<std::int64_t>(mosaic.means.size()) * kPixelsPerSquare;
    return pixelsIn(part);
}

// Makes `part` a part of one of `parts`: of the first that grows by no more than it, or of a new one. Returns its
// place.
std::size_t includeIn(std::vector<MosaicRect>& parts, const MosaicRect& part) {
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const MosaicRect both{std::min(parts[i].left, part.left), std::min(parts[i].bottom, part.bottom),
                              std::max(parts[i].right, part.right), std::max(parts[i].top, part.top)};
        if (pixelsIn(both) > pixelsIn(parts[i]) + pixelsIn(part)) continue;
        parts[i] = both;
        return i;
    }
    parts.push_back(part);
    return parts.size() - 1;
}

// Planes of `shown(mean)`: one value for each of the planes that are given, in 255ths.
template <std::size_t Planes, typename Shown>
SourcePlanes planesWith(const Mosaic& mosaic, const MosaicRect& hidden,
                        const std::array<PlaneSamples SourcePlanes::*, Planes>& to, const Shown& shown) {
    SourcePlanes planes;
    planes.width = mosaic.columns;
    planes.height = mosaic.rows;
    planes.stride = (planes.width + 63) / 64 * 64;
    const std::size_t size = static_cast<std::size_t>(planes.stride) * static_cast<std::size_t>(planes.height);
    for (const auto plane : to) (planes.*plane).resize(size);
    if (!mosaic.isOpaque) planes.alpha.resize(size);
    const auto store = [&](int row, int begin, int end) {
        const Mean* mean = mosaic.means.data() + static_cast<std::ptrdiff_t>(row) * mosaic.columns + begin;
        std::size_t at = static_cast<std::size_t>(planes.height - 1 - row) * static_cast<std::size_t>(planes.stride) +
                         static_cast<std::size_t>(begin);
        for (int column = begin; column < end; ++column, ++at, ++mean) {
            const std::array<double, Planes> values = shown(*mean);
            for (std::size_t i = 0; i < Planes; ++i) {
                // Not negative, so this rounds; std::lround would be a call for each sample.
                const double value = std::clamp(values[i], 0.0, 255.0);
                (planes.*to[i])[at] = static_cast<std::uint8_t>(value + 0.5);  // NOLINT(bugprone-incorrect-roundings)
            }
            if (!mosaic.isOpaque) planes.alpha[at] = static_cast<std::uint8_t>(((*mean)[3] + 128) >> 8);
        }
    };
    for (int row = 0; row < mosaic.rows; ++row) {
        const bool hasHidden = !hidden.isEmpty() && row >= hidden.bottom && row < hidden.top;
        store(row, 0, hasHidden ? hidden.left : mosaic.columns);
        if (hasHidden) store(row, hidden.right, mosaic.columns);
    }
    planes.opaque = mosaic.isOpaque;
    if (!planes.opaque) describeAlpha(planes);
    return planes;
}

double shownOf(std::uint16_t value) {
    return value / 256.0;
}

}  // namespace

SourcePlanes planesOf(const Mosaic& mosaic, const MosaicRect& hidden) {
    return planesWith<3>(mosaic, hidden, {&SourcePlanes::blue, &SourcePlanes::green, &SourcePlanes::red},
                         [](const Mean& mean) {
                             return std::array{shownOf(mean[0]), shownOf(mean[1]), shownOf(mean[2])};
                         });
}

SourcePlanes lumaOf(const Mosaic& mosaic, const YuvEncoding& encoding, const MosaicRect& hidden) {
    const YuvCoefficients yuv(encoding);
    return planesWith<1>(mosaic, hidden, {&SourcePlanes::blue}, [&](const Mean& mean) {
        return std::array{yuv.luma(shownOf(mean[2]), shownOf(mean[1]), shownOf(mean[0]))};
    });
}

SourcePlanes chromaOf(const Mosaic& mosaic, const YuvEncoding& encoding, const MosaicRect& hidden) {
    const YuvCoefficients yuv(encoding);
    return planesWith<2>(mosaic, hidden, {&SourcePlanes::blue, &SourcePlanes::green}, [&](const Mean& mean) {
        const double red = shownOf(mean[2]);
        const double green = shownOf(mean[1]);
        const double blue = shownOf(mean[0]);
        return std::array{yuv.cb(red, green, blue) + 128, yuv.cr(red, green, blue) + 128};
    });
}

std::size_t Mosaics::squares() const {
    std::size_t count = 0;
    for (const Mosaic& mosaic : areas) count += mosaic.means.size();
    return count;
}

MosaicRect Mosaics::hiddenSquares(std::size_t number, const MosaicRect& uncut, int reach) const {
    const MosaicRect& area = areas[number].area;
    // The squares of one axis that lie between two pixels.
    const auto squaresWithin = [this, reach](int start, int count, int begin, int end) {
        const int first = begin + reach <= start ? 0 : squaresAlong(begin + reach - start, side);
        return std::pair{first, end - reach <= start ? 0 : std::min((end - reach - start) / side, count)};
    };
    MosaicRect most;
    for (std::size_t i = number + 1; i < areas.size(); ++i) {
        if (!areas[i].isOpaque) continue;
        const MosaicRect above = shared(areas[i].area, uncut);
        if (above.isEmpty()) continue;
        const auto [left, right] = squaresWithin(area.left, areas[number].columns, above.left, above.right);
        const auto [bottom, top] = squaresWithin(area.bottom, areas[number].rows, above.bottom, above.top);
        const MosaicRect hidden{left, bottom, right, top};
        if (!hidden.isEmpty() && (most.isEmpty() || pixelsIn(hidden) > pixelsIn(most))) most = hidden;
    }
    return most;
}

Mosaics makeMosaics(const MosaicPlan& plan, const ShowGround& showGround, const ShareOut& shareOut) {
    std::vector<MosaicRect> parts;
    std::vector<std::size_t> partOf;
    for (const MosaicRect& area : plan.areas) partOf.push_back(includeIn(parts, plan.pixelsUnder(area)));
    std::vector<Ground> grounds;
    for (const MosaicRect& part : parts) grounds.push_back({part, showGround(part)});

    Mosaics mosaics;
    mosaics.side = plan.side;
    mosaics.areas.reserve(plan.areas.size());
    for (std::size_t i = 0; i < plan.areas.size(); ++i) {
        const MosaicRect& area = plan.areas[i];
        Mosaic mosaic;
        mosaic.area = area;
        mosaic.columns = squaresAlong(area.width(), plan.side);
        mosaic.rows = squaresAlong(area.height(), plan.side);
        mosaic.means.resize(static_cast<std::size_t>(mosaic.columns) * static_cast<std::size_t>(mosaic.rows));
        const MosaicRect under = plan.pixelsUnder(area);
        const MaskedPicture picture{grounds[partOf[i]], plan.side, mosaicsUnder(under, mosaics.areas)};
        const auto makeRow = [&](int row) {
            auto* mean = mosaic.means.data() + static_cast<std::ptrdiff_t>(row) * mosaic.columns;
            const int bottom = area.bottom + row * plan.side;
            const int done = picture.averageOnTopmost(area.left, bottom, mosaic.columns, mean);
            for (int column = done; column < mosaic.columns; ++column) {
                mean[column] = meanOf(picture, plan.bounds, area.left + column * plan.side, bottom, plan.side);
            }
        };
        if (workFor(picture, under, mosaic) < kPixelsWorthSharing) {
            for (int row = 0; row < mosaic.rows; ++row) makeRow(row);
        } else {
            shareOut(mosaic.rows, makeRow);
        }
        mosaic.isOpaque =
            std::all_of(mosaic.means.begin(), mosaic.means.end(), [](const Mean& mean) { return mean[3] == kOpaque; });
        mosaics.areas.push_back(std::move(mosaic));
    }
    return mosaics;
}

}  // namespace lumivastor::imaging
