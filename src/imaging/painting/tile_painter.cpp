// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/tile_painter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "imaging/yuv_coefficients.h"

namespace lumivastor::imaging {

namespace {

MixFactors factorsOf(double a, double b, double c) {
    MixFactors factors;
    factors.timesFour = std::max({std::abs(a), std::abs(b), std::abs(c)}) > 0.999;  // 1 itself does not fit
    const double unit = factors.timesFour ? 32768.0 / 4 : 32768.0;
    factors.a = static_cast<std::int16_t>(std::lround(a * unit));
    factors.b = static_cast<std::int16_t>(std::lround(b * unit));
    factors.c = static_cast<std::int16_t>(std::lround(c * unit));
    return factors;
}

// What of `span` is not `hidden`: up to two parts.
template <typename Part, typename Span>
int visibleParts(const Part& span, const Span& hidden, Part* parts) {
    if (hidden.end <= hidden.begin || hidden.end <= span.begin || hidden.begin >= span.end) {
        parts[0] = span;
        return span.begin < span.end ? 1 : 0;
    }
    int count = 0;
    if (span.begin < hidden.begin) parts[count++] = {span.begin, hidden.begin};
    if (hidden.end < span.end) parts[count++] = {hidden.end, span.end};
    return count;
}

}  // namespace

TilePainter::Depth& TilePainter::depth(std::size_t number) {
    while (depths_.size() <= number) depths_.push_back(std::make_unique<Depth>());
    return *depths_[number];
}

void TilePainter::prepareCanvas(Canvas& canvas, int channels, bool hasAlpha, const Tile& tile) const {
    canvas.channels = channels;
    canvas.hasAlpha = hasAlpha;
    canvas.levels.resize(static_cast<std::size_t>(channels + 1) * kTileHeight * Canvas::kStride);
    for (int channel = 0; channel < channels + (hasAlpha ? 1 : 0); ++channel) {
        std::memset(canvas.row(channel, 0), 0,
                    static_cast<std::size_t>(tile.height()) * Canvas::kStride * sizeof(std::int16_t));
    }
}

TilePainter::Canvas& TilePainter::paint(const PaintPlan& plan, const Tile& tile, const YuvEncoding& encoding,
                                        bool withAlpha) {
    plan_ = &plan;
    encoding_ = encoding;
    Canvas& canvas = depth(0).canvas;
    switch (plan.channels) {
        case GridChannels::bgra:
            prepareCanvas(canvas, 3, true, tile);
            break;
        case GridChannels::luma:
            prepareCanvas(canvas, 1, withAlpha, tile);
            break;
        case GridChannels::chroma:
            prepareCanvas(canvas, 2, withAlpha, tile);
            break;
    }
    paintItems(plan.items, tile, 1, canvas, true);
    return canvas;
}

void TilePainter::paintItems(const std::vector<PlanItem>& items, const Tile& tile, std::size_t level, Canvas& canvas,
                             bool mayHide) {
    for (const PlanItem& item : items) {
        if (item.firstRow >= tile.bottom || item.endRow() <= tile.top) continue;
        const AxisSpan columns = item.children.empty() ? item.across.span : AxisSpan{tile.left, tile.right};
        if (columns.begin >= tile.right || columns.end <= tile.left) continue;
        if (!item.children.empty()) {
            paintStack(item, tile, level, canvas);
        } else {
            paintLayer(item, tile, level, canvas, mayHide);
        }
    }
}

void TilePainter::paintStack(const PlanItem& item, const Tile& tile, std::size_t level, Canvas& canvas) {
    bool shows = false;
    bool isPlain = item.fade == kFullLevel;
    for (int y = tile.top; y < tile.bottom; ++y) {
        const RowRuns runs = item.runsAt(y);
        shows = shows || (runs.hullBegin < tile.right && runs.hullEnd > tile.left && runs.hullBegin < runs.hullEnd);
        for (const auto& matte : item.mattes) {
            for (const PlanItem& layer : matte) {
                const RowRuns matteRuns = layer.runsAt(y);
                isPlain = isPlain && matte.size() == 1 && matteRuns.opaqueBegin <= tile.left &&
                          matteRuns.opaqueEnd >= tile.right;
            }
        }
    }
    if (!shows) return;
    // Where the mattes let everything through, the stack's items can be painted like all others.
    if (isPlain) return paintItems(item.children, tile, level, canvas, true);
    Depth& own = depth(level);
    prepareCanvas(own.canvas, canvas.channels, true, tile);
    paintItems(item.children, tile, level + 1, own.canvas, true);
    for (int y = tile.top; y < tile.bottom; ++y) {
        const RowRuns runs = item.runsAt(y);
        const Part part{std::max(runs.hullBegin, tile.left), std::min(runs.hullEnd, tile.right)};
        if (part.begin >= part.end) continue;
        const int count = part.end - part.begin;
        const int row = y - tile.top;
        const int at = part.begin - tile.left;
        std::int16_t* factors = own.rows[0].data();
        std::fill(factors, factors + count, static_cast<std::int16_t>(item.fade));
        matteLevels(item, y, part, level + 1, factors);
        std::int16_t* alpha = own.canvas.alphaRow(row) + at;
        for (int channel = 0; channel <= canvas.channels; ++channel) {
            multiplyLevels(own.canvas.row(channel, row) + at, factors, count);
        }
        if (canvas.hasAlpha) blendLevels(canvas.alphaRow(row) + at, alpha, alpha, count);
        for (int channel = 0; channel < canvas.channels; ++channel) {
            blendLevels(canvas.row(channel, row) + at, own.canvas.row(channel, row) + at, alpha, count);
        }
    }
}

void TilePainter::filterPlane(FilteredPlane& to, const PlanPlane& plane, const PlanItem& item, const Part& columns,
                              const Part& rows) {
    to.plane = &plane;
    if (plane.levels != nullptr) return;
    const AxisTable& across = *plane.columns;
    const AxisTable& down = *plane.rows;
    // Copies have any length; filters work in blocks.
    const AxisSpan span = item.across.span;
    const int begin = across.contiguous ? std::max(columns.begin, span.begin) : columns.begin / 16 * 16;
    const int end = across.contiguous ? std::min(columns.end, span.end) : (columns.end + 15) / 16 * 16;
    to.firstColumn = begin;
    to.firstRow = down.first[static_cast<std::size_t>(rows.begin)];
    const int lastRow = down.first[static_cast<std::size_t>(rows.end - 1)] + down.taps;
    to.stride = (end - begin + 63) / 32 * 32;
    const std::size_t size = static_cast<std::size_t>(lastRow - to.firstRow) * static_cast<std::size_t>(to.stride);
    if (to.samples.size() < size + 32) to.samples.resize(size + 32);

    // The kernels read whole runs of bytes: near the end of the row they get a copy with room behind it.
    int from = 0;
    int last = 0;
    if (across.contiguous) {
        from = across.first[static_cast<std::size_t>(span.begin)] + begin - span.begin;
        last = from + end - begin;
    } else {
        const auto sampleAt = [&](int i) {
            return across.first[static_cast<std::size_t>(std::clamp(i, span.begin, span.end - 1))];
        };
        from = sampleAt(begin);
        last = sampleAt(end - 1) + across.taps;
    }
    const bool needsCopy = last + 32 > plane.width;
    if (needsCopy && rowCopy_.size() < static_cast<std::size_t>(last - from) + 64) {
        rowCopy_.resize(static_cast<std::size_t>(last - from) + 64);
    }
    for (int row = to.firstRow; row < lastRow; ++row) {
        const std::uint8_t* source = plane.samples + row * plane.stride;
        if (needsCopy) {
            std::memcpy(rowCopy_.data(), source + from, static_cast<std::size_t>(std::min(last, plane.width) - from));
            source = rowCopy_.data() - from;
        }
        std::int16_t* filtered = to.samples.data() + (row - to.firstRow) * to.stride;
        if (across.contiguous) {
            widenRow(source + from, end - begin, filtered);
        } else {
            filterRow(across, begin, end, source, filtered);
        }
    }
}

void TilePainter::levelsOf(const FilteredPlane& filtered, int row, const Part& columns, std::int16_t* levels) {
    if (const PlanPlane& plane = *filtered.plane; plane.levels != nullptr) {
        return copyLevels(levels, plane.levels + row * plane.stride + columns.begin, columns.end - columns.begin);
    }
    const AxisTable& down = *filtered.plane->rows;
    const auto taps = static_cast<std::size_t>(down.taps);
    if (rowPointers_.size() < taps) {
        rowPointers_.resize(taps);
        rowWeights_.resize(taps);
    }
    const int first = down.first[static_cast<std::size_t>(row)] - filtered.firstRow;
    for (int tap = 0; tap < down.taps; ++tap) {
        rowPointers_[static_cast<std::size_t>(tap)] =
            filtered.samples.data() + (first + tap) * filtered.stride + (columns.begin - filtered.firstColumn);
        rowWeights_[static_cast<std::size_t>(tap)] = down.weight(row, tap);
    }
    const int count = columns.end - columns.begin;
    combineRows(rowPointers_.data(), rowWeights_.data(), down.taps, count, levels);
    if (filtered.plane->zero != 0) addToLevels(levels, -filtered.plane->zero * 32, count);
}

// Turns a layer's colours, in the first rows of `at`, into the channels of the plan; returns in `colours` where they
// are.
int TilePainter::convert(const PlanItem& item, Depth& at, int count, std::int16_t** colours) {
    std::int16_t* in[3] = {at.rows[0].data(), at.rows[1].data(), at.rows[2].data()};
    std::int16_t* out[3] = {at.rows[3].data(), at.rows[4].data(), at.rows[5].data()};
    const auto mix = [&](int channel, double a, double b, double c) {
        mixLevels(factorsOf(a, b, c), in[0], in[1], in[2], count, out[channel]);
        colours[channel] = out[channel];
    };
    if (item.isYuv) {
        // Linear functions of luma, blue difference and red difference, by what they make of each alone.
        const YuvCoefficients from(item.encoding);
        const YuvCoefficients to(encoding_);
        const auto mixOf = [&](int channel, auto&& value) {
            const auto of = [&](double luma, double cb, double cr) {
                return value(from.red(luma, cr), from.green(luma, cb, cr), from.blue(luma, cb));
            };
            mix(channel, of(1, 0, 0), of(0, 1, 0), of(0, 0, 1));
        };
        switch (plan_->channels) {
            case GridChannels::bgra:
                mixOf(0, [](double, double, double blue) { return blue; });
                mixOf(1, [](double, double green, double) { return green; });
                mixOf(2, [](double red, double, double) { return red; });
                return 3;
            case GridChannels::luma:
                mixOf(0, [&](double red, double green, double blue) { return to.luma(red, green, blue); });
                return 1;
            case GridChannels::chroma:
                break;
        }
        mixOf(0, [&](double red, double green, double blue) { return to.cb(red, green, blue); });
        mixOf(1, [&](double red, double green, double blue) { return to.cr(red, green, blue); });
        return 2;
    }
    const YuvCoefficients to(encoding_);
    switch (plan_->channels) {
        case GridChannels::bgra:
            std::copy(in, in + 3, colours);
            return 3;
        case GridChannels::luma:
            mix(0, to.luma(0, 0, 1), to.luma(0, 1, 0), to.luma(1, 0, 0));
            return 1;
        case GridChannels::chroma:
            break;
    }
    mix(0, to.cb(0, 0, 1), to.cb(0, 1, 0), to.cb(1, 0, 0));
    mix(1, to.cr(0, 0, 1), to.cr(0, 1, 0), to.cr(1, 0, 0));
    return 2;
}

// factors *= the mattes' alpha.
void TilePainter::matteLevels(const PlanItem& item, int row, const Part& columns, std::size_t level,
                              std::int16_t* factors) {
    const int count = columns.end - columns.begin;
    for (const auto& matte : item.mattes) {
        // One row of the matte as a stack of its own; mattes are alpha alone, so one channel of colour is too many
        // already.
        Depth& own = depth(level);
        const Tile strip{columns.begin, columns.end, row, row + 1};
        prepareCanvas(own.canvas,
                      plan_->channels == GridChannels::bgra   ? 3
                      : plan_->channels == GridChannels::luma ? 1
                                                              : 2,
                      true, strip);
        paintItems(matte, strip, level + 1, own.canvas, false);
        multiplyLevels(factors, own.canvas.alphaRow(0), count);
    }
}

TilePainter::LayerParts TilePainter::partsToPaint(const PlanItem& item, const Tile& tile, bool mayHide) {
    LayerParts layer;
    layer.columns = layer.rows = {std::numeric_limits<int>::max(), 0};
    for (int y = tile.top; y < tile.bottom; ++y) {
        const RowRuns runs = item.runsAt(y);
        const Part span{std::max(runs.hullBegin, tile.left), std::min(runs.hullEnd, tile.right)};
        if (span.begin >= span.end) continue;
        const auto row = static_cast<std::size_t>(y - tile.top);
        Part* parts = layer.parts[row].data();
        const AxisSpan hidden = mayHide ? item.hiddenAt(y) : AxisSpan{};
        const int count = visibleParts(span, hidden, parts);
        layer.counts[row] = count;
        if (count == 0) continue;
        layer.columns = {std::min(layer.columns.begin, parts[0].begin),
                         std::max(layer.columns.end, parts[count - 1].end)};
        layer.rows = {std::min(layer.rows.begin, y), y + 1};
    }
    return layer;
}

void TilePainter::paintLayer(const PlanItem& item, const Tile& tile, std::size_t level, Canvas& canvas, bool mayHide) {
    const LayerParts parts = partsToPaint(item, tile, mayHide);
    if (parts.columns.begin >= parts.columns.end) return;

    const bool sameEncoding = item.isYuv && item.encoding == encoding_ && plan_->channels != GridChannels::bgra;
    Layer layer{item, tile, level, canvas, depth(level)};
    layer.isDirect = sameEncoding || item.isConverted;
    layer.colourEnd = item.colours.size();
    if (sameEncoding && plan_->channels == GridChannels::luma) layer.colourEnd = 1;
    if (sameEncoding && plan_->channels == GridChannels::chroma) layer.firstColour = 1;
    for (std::size_t i = layer.firstColour; i < layer.colourEnd; ++i) {
        filterPlane(layer.own.planes[i], item.colours[i], item, parts.columns, parts.rows);
    }
    if (item.alpha) filterPlane(layer.own.planes[3], *item.alpha, item, parts.columns, parts.rows);

    for (int y = parts.rows.begin; y < parts.rows.end; ++y) {
        const auto row = static_cast<std::size_t>(y - tile.top);
        for (int i = 0; i < parts.counts[row]; ++i) paintPart(layer, y, parts.parts[row][static_cast<std::size_t>(i)]);
    }
}

void TilePainter::paintPart(const Layer& layer, int y, const Part& part) {
    const RowRuns runs = layer.item.runsAt(y);
    const Part opaque{std::clamp(runs.opaqueBegin, part.begin, part.end),
                      std::clamp(runs.opaqueEnd, part.begin, part.end)};
    if (opaque.begin >= opaque.end) return blendPart(layer, y, part);
    if (part.begin < opaque.begin) blendPart(layer, y, {part.begin, opaque.begin});
    // Rows that end with the tile, or with a whole vector, are made where they belong.
    const bool inPlace = layer.isDirect && layer.hasColours() &&
                         (opaque.end == layer.tile.right || (opaque.end - opaque.begin) % 16 == 0);
    if (inPlace) {
        makeInPlace(layer, y, opaque);
    } else {
        coverPart(layer, y, opaque);
    }
    if (opaque.end < part.end) blendPart(layer, y, {opaque.end, part.end});
}

void TilePainter::makeInPlace(const Layer& layer, int y, const Part& part) {
    Canvas& canvas = layer.canvas;
    const int row = y - layer.tile.top;
    const int at = part.begin - layer.tile.left;
    for (std::size_t i = layer.firstColour; i < layer.colourEnd; ++i) {
        levelsOf(layer.own.planes[i], y, part, canvas.row(static_cast<int>(i - layer.firstColour), row) + at);
    }
    if (canvas.hasAlpha) std::fill_n(canvas.alphaRow(row) + at, part.end - part.begin, std::int16_t{kFullLevel});
}

void TilePainter::coverPart(const Layer& layer, int y, const Part& part) {
    Canvas& canvas = layer.canvas;
    const int count = part.end - part.begin;
    const int row = y - layer.tile.top;
    const int at = part.begin - layer.tile.left;
    std::array<std::int16_t, Canvas::kStride> alpha;
    std::fill_n(alpha.begin(), count, std::int16_t{kFullLevel});
    std::int16_t* colours[3] = {nullptr, nullptr, nullptr};
    coloursOf(layer, y, part, alpha.data(), colours);
    for (int channel = 0; channel < canvas.channels; ++channel) {
        if (colours[channel] != nullptr) {
            copyLevels(canvas.row(channel, row) + at, colours[channel], count);
        } else {
            std::fill_n(canvas.row(channel, row) + at, count, std::int16_t{0});
        }
    }
    if (canvas.hasAlpha) std::fill_n(canvas.alphaRow(row) + at, count, std::int16_t{kFullLevel});
}

void TilePainter::blendPart(const Layer& layer, int y, const Part& part) {
    Canvas& canvas = layer.canvas;
    const int count = part.end - part.begin;
    const int row = y - layer.tile.top;
    const int at = part.begin - layer.tile.left;
    std::array<std::int16_t, Canvas::kStride> alpha;
    if (layer.item.alpha) {
        levelsOf(layer.own.planes[3], y, part, alpha.data());
    } else {
        std::fill_n(alpha.begin(), count, std::int16_t{kFullLevel});
    }
    std::int16_t* colours[3] = {nullptr, nullptr, nullptr};
    coloursOf(layer, y, part, alpha.data(), colours);
    std::array<std::int16_t, Canvas::kStride> factors;
    factorLevels(layer, y, part, factors.data());
    multiplyLevels(alpha.data(), factors.data(), count);
    for (int channel = 0; channel < canvas.channels; ++channel) {
        if (colours[channel] != nullptr) multiplyLevels(colours[channel], factors.data(), count);
        blendLevels(canvas.row(channel, row) + at, colours[channel], alpha.data(), count);
    }
    if (canvas.hasAlpha) blendLevels(canvas.alphaRow(row) + at, alpha.data(), alpha.data(), count);
}

void TilePainter::coloursOf(const Layer& layer, int y, const Part& part, std::int16_t* alpha, std::int16_t** colours) {
    auto& rows = layer.own.rows;
    const int count = part.end - part.begin;
    for (std::size_t i = layer.firstColour; i < layer.colourEnd; ++i) {
        levelsOf(layer.own.planes[i], y, part, rows[i].data());
    }
    if (layer.isDirect && layer.hasColours()) {
        for (std::size_t i = layer.firstColour; i < layer.colourEnd; ++i)
            colours[i - layer.firstColour] = rows[i].data();
        return;
    }
    if (!layer.item.isYuv) limitPremultiplied(rows[0].data(), rows[1].data(), rows[2].data(), alpha, count);
    if (layer.hasColours()) convert(layer.item, layer.own, count, colours);
}

void TilePainter::factorLevels(const Layer& layer, int y, const Part& part, std::int16_t* factors) {
    const PlanItem& item = layer.item;
    const int count = part.end - part.begin;
    const std::int16_t* coverage = item.across.levels.data() + (part.begin - item.across.span.begin);
    std::copy(coverage, coverage + count, factors);
    const int down = item.down.levels[static_cast<std::size_t>(y - item.down.span.begin)];
    const int scale = static_cast<int>(std::lround(static_cast<double>(down) * item.fade / kFullLevel));
    if (scale < kFullLevel) scaleLevels(factors, scale, count);
    matteLevels(item, y, part, layer.level + 1, factors);
}

}  // namespace lumivastor::imaging
