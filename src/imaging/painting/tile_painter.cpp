// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/tile_painter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>

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

int TilePainter::stripRows(const Canvas& canvas) {
    // 16 rows of levels are 16 KiB; what is painted on them takes about as much again.
    return 16 / (canvas.channels + (canvas.hasAlpha ? 1 : 0));
}

void TilePainter::paint(const PaintPlan& plan, const Tile& tile, const YuvEncoding& encoding, const Store& store,
                        bool withAlpha) {
    targets_ = {};
    paintStrips(plan, tile, encoding, withAlpha, store);
}

void TilePainter::paint(const PaintPlan& plan, const Tile& tile, const YuvEncoding& encoding,
                        std::span<const Target> targets) {
    targets_ = targets;
    paintStrips(plan, tile, encoding, false, [this](Canvas& canvas, const Tile& strip) {
        for (int y = strip.top; y < strip.bottom; ++y) {
            Part beside[2];
            const int parts = visibleParts(Part{strip.left, strip.right},
                                           directs_[static_cast<std::size_t>(y - strip.top)].part, beside);
            for (int channel = 0; channel < canvas.channels; ++channel) {
                const Target& target = targets_[static_cast<std::size_t>(channel)];
                for (const Part& part : std::span(beside).first(static_cast<std::size_t>(parts))) {
                    storePlane(canvas.row(channel, y - strip.top) + (part.begin - strip.left), target.offset,
                               target.samples + y * target.stride + part.begin, part.end - part.begin);
                }
            }
        }
    });
}

void TilePainter::paintStrips(const PaintPlan& plan, const Tile& tile, const YuvEncoding& encoding, bool withAlpha,
                              const Store& store) {
    plan_ = &plan;
    encoding_ = encoding;
    Canvas& canvas = depth(0).canvas;
    canvas.channels = plan.channels == GridChannels::bgra ? 3 : plan.channels == GridChannels::luma ? 1 : 2;
    canvas.hasAlpha = plan.channels == GridChannels::bgra || withAlpha;
    canvas.levels.resize(static_cast<std::size_t>(canvas.channels + 1) * kTileHeight * Canvas::kStride);
    while (kept_.size() < plan.items.size()) kept_.push_back(std::make_unique<Kept>());
    for (std::size_t i = 0; i < plan.items.size(); ++i) kept_[i]->isPlaced = false;
    const int rows = stripRows(canvas);
    for (int top = tile.top; top < tile.bottom; top += rows) {
        const Tile strip{tile.left, tile.right, top, std::min(top + rows, tile.bottom)};
        showing_.clear();
        for (std::size_t i = 0; i < plan.items.size(); ++i) {
            if (showsIn(plan.items[i], strip, true)) showing_.push_back(i);
        }
        canvas.isEmpty = showing_.empty();
        findDirectParts(strip);
        clearUncovered(canvas, strip);
        for (const std::size_t i : showing_) {
            const PlanItem& item = plan.items[i];
            if (!item.children.empty()) {
                paintStack(item, strip, 1, canvas);
            } else {
                paintLayer(item, tile, strip, 1, canvas, true, true, *kept_[i]);
            }
        }
        store(canvas, strip);
    }
}

bool TilePainter::isDirectItem(const PlanItem& item) const {
    const bool sameEncoding = item.isYuv && item.encoding == encoding_ && plan_->channels != GridChannels::bgra;
    return sameEncoding || item.isConverted;
}

bool TilePainter::canBeDirect(const PlanItem& item) const {
    if (!item.children.empty() || item.colours.empty() || !isDirectItem(item)) return false;
    const PlanPlane& plane = plan_->channels == GridChannels::chroma ? item.colours.back() : item.colours.front();
    return plane.levels != nullptr || plane.rows->taps <= kMaxQuickTaps;
}

void TilePainter::findDirectParts(const Tile& strip) {
    directs_.fill({});
    if (targets_.empty()) return;
    constexpr int kWorthwhile = 32;  // columns
    // From the top down: in each row the widest opaque part of a layer beside all that lies above it.
    std::array<Part, kTileHeight> above;
    above.fill({strip.right, strip.left});
    for (auto i = showing_.rbegin(); i != showing_.rend(); ++i) {
        const PlanItem& item = plan_->items[*i];
        const bool isCandidate = canBeDirect(item);
        for (int y = strip.top; y < strip.bottom; ++y) {
            const auto row = static_cast<std::size_t>(y - strip.top);
            const RowRuns runs = item.runsAt(y);
            Part& over = above[row];
            Direct& widest = directs_[row];
            if (isCandidate) {
                const Part opaque{std::max(runs.opaqueBegin, strip.left), std::min(runs.opaqueEnd, strip.right)};
                Part beside[2];
                const int parts = visibleParts(opaque, over, beside);
                for (const Part& part : std::span(beside).first(static_cast<std::size_t>(parts))) {
                    const int width = part.end - part.begin;
                    if (width >= std::max(kWorthwhile, widest.part.end - widest.part.begin + 1)) widest = {&item, part};
                }
            }
            const Part hull{std::max(runs.hullBegin, strip.left), std::min(runs.hullEnd, strip.right)};
            if (hull.begin < hull.end) over = {std::min(over.begin, hull.begin), std::max(over.end, hull.end)};
        }
    }
}

void TilePainter::clearUncovered(Canvas& canvas, const Tile& strip) const {
    for (int y = strip.top; y < strip.bottom; ++y) {
        const bool isCovered = std::ranges::any_of(showing_, [&](std::size_t i) {
            const RowRuns runs = plan_->items[i].runsAt(y);
            return runs.opaqueBegin <= strip.left && runs.opaqueEnd >= strip.right;
        });
        if (isCovered) continue;
        for (int channel = 0; channel < canvas.channels + (canvas.hasAlpha ? 1 : 0); ++channel) {
            std::fill_n(canvas.row(channel, y - strip.top), strip.width(), std::int16_t{0});
        }
    }
}

bool TilePainter::showsIn(const PlanItem& item, const Tile& tile, bool mayHide) {
    if (item.firstRow >= tile.bottom || item.endRow() <= tile.top) return false;
    const AxisSpan columns = item.children.empty() ? item.across.span : AxisSpan{tile.left, tile.right};
    if (columns.begin >= tile.right || columns.end <= tile.left) return false;
    return !mayHide || !item.isHiddenIn(tile.top, {tile.left, tile.right});
}

void TilePainter::paintItems(const std::vector<PlanItem>& items, const Tile& tile, std::size_t level, Canvas& canvas,
                             bool mayHide) {
    for (const PlanItem& item : items) {
        if (!showsIn(item, tile, mayHide)) continue;
        if (!item.children.empty()) {
            paintStack(item, tile, level, canvas);
        } else {
            Kept& kept = depth(level).kept;
            kept.isPlaced = false;
            paintLayer(item, tile, tile, level, canvas, mayHide, false, kept);
        }
    }
}

Tile TilePainter::wholeTile(const Tile& part) const {
    const int left = part.left / kTileWidth * kTileWidth;
    const int top = part.top / kTileHeight * kTileHeight;
    return {left, std::min(left + kTileWidth, plan_->grid.columns), top, std::min(top + kTileHeight, plan_->grid.rows)};
}

void TilePainter::paintStack(const PlanItem& item, const Tile& tile, std::size_t level, Canvas& canvas) {
    bool shows = false;
    for (int y = tile.top; y < tile.bottom && !shows; ++y) {
        const RowRuns runs = item.runsAt(y);
        shows = runs.hullBegin < tile.right && runs.hullEnd > tile.left && runs.hullBegin < runs.hullEnd;
    }
    if (!shows) return;
    // Decided for whole tiles: the two ways may round differently.
    const Tile whole = wholeTile(tile);
    bool isPlain = item.fade == kFullLevel;
    for (const auto& matte : item.mattes) {
        isPlain = isPlain && matte.size() == 1;
        for (int y = whole.top; y < whole.bottom && isPlain; ++y) {
            const RowRuns matteRuns = matte.front().runsAt(y);
            isPlain = matteRuns.opaqueBegin <= whole.left && matteRuns.opaqueEnd >= whole.right;
        }
    }
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
        if (matte.size() == 1 && matte.front().children.empty() && matte.front().mattes.empty()) {
            std::array<std::int16_t, Canvas::kStride> alpha;
            alphaLevels(matte.front(), row, columns, alpha.data());
            multiplyLevels(factors, alpha.data(), count);
            continue;
        }
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

void TilePainter::alphaLevels(const PlanItem& item, int row, const Part& columns, std::int16_t* alpha) {
    const int count = columns.end - columns.begin;
    const RowRuns runs = item.runsAt(row);
    const Part part{std::clamp(runs.hullBegin, columns.begin, columns.end),
                    std::clamp(runs.hullEnd, columns.begin, columns.end)};
    if (part.begin >= part.end) return std::fill_n(alpha, count, std::int16_t{0}), void();
    std::int16_t* const visible = alpha + (part.begin - columns.begin);
    const bool isCovered = coverageLevels(item, row, part, visible);
    if (item.alpha) {
        const AxisSpan rows{row, row + 1};
        std::array<std::int16_t, Canvas::kStride> levels;
        matteRows_.forget();
        matteRows_.prepare(*item.alpha, {item.across.span, part, rows, 1}, rows);
        if (row + FilteredPlane::kRowsAhead < item.down.span.end) {
            matteRows_.prefetch(row + FilteredPlane::kRowsAhead, part);
        }
        matteRows_.levels(row, part, levels.data());
        limitAlpha(levels.data(), part.end - part.begin);
        if (isCovered) multiplyLevels(levels.data(), visible, part.end - part.begin);
        copyLevels(visible, levels.data(), part.end - part.begin);
    }
    const Part opaque{std::clamp(runs.opaqueBegin, part.begin, part.end),
                      std::clamp(runs.opaqueEnd, part.begin, part.end)};
    if (opaque.begin < opaque.end) {
        std::fill_n(alpha + (opaque.begin - columns.begin), opaque.end - opaque.begin, std::int16_t{kFullLevel});
    }
    std::fill_n(alpha, part.begin - columns.begin, std::int16_t{0});
    std::fill_n(alpha + (part.end - columns.begin), columns.end - part.end, std::int16_t{0});
}

void TilePainter::placeParts(LayerParts& layer, const PlanItem& item, const Tile& tile, bool mayHide) {
    layer.top = tile.top;
    layer.columns = layer.rows = {std::numeric_limits<int>::max(), 0};
    for (int y = tile.top; y < tile.bottom; ++y) {
        const auto row = static_cast<std::size_t>(y - tile.top);
        layer.counts[row] = 0;
        const RowRuns runs = item.runsAt(y);
        const Part span{std::max(runs.hullBegin, tile.left), std::min(runs.hullEnd, tile.right)};
        if (span.begin >= span.end) continue;
        Part* parts = layer.parts[row].data();
        const AxisSpan hidden = mayHide ? item.hiddenAt(y) : AxisSpan{};
        const int count = visibleParts(span, hidden, parts);
        layer.counts[row] = count;
        if (count == 0) continue;
        layer.columns = {std::min(layer.columns.begin, parts[0].begin),
                         std::max(layer.columns.end, parts[count - 1].end)};
        layer.rows = {std::min(layer.rows.begin, y), y + 1};
    }
}

void TilePainter::paintLayer(const PlanItem& item, const Tile& whole, const Tile& tile, std::size_t level,
                             Canvas& canvas, bool mayHide, bool mayBeDirect, Kept& kept) {
    const LayerParts& parts = kept.parts;
    const bool isFirst = !kept.isPlaced;
    if (isFirst) placeParts(kept.parts, item, whole, mayHide);
    kept.isPlaced = true;
    if (isFirst) {
        for (FilteredPlane& plane : kept.planes) plane.forget();
    }
    const Part rows{std::max(parts.rows.begin, tile.top), std::min(parts.rows.end, tile.bottom)};
    if (parts.columns.begin >= parts.columns.end || rows.begin >= rows.end) return;

    const bool sameEncoding = isDirectItem(item) && item.isYuv;
    Layer layer{item, tile, level, canvas, depth(level), kept.planes};
    layer.isDirect = isDirectItem(item);
    layer.mayBeDirect = mayBeDirect;
    layer.colourEnd = item.colours.size();
    if (sameEncoding && plan_->channels == GridChannels::luma) layer.colourEnd = 1;
    if (sameEncoding && plan_->channels == GridChannels::chroma) layer.firstColour = 1;
    const FilteredPlane::Place place{item.across.span, parts.columns, parts.rows, tile.height()};
    for (std::size_t i = layer.firstColour; i < layer.colourEnd; ++i)
        kept.planes[i].prepare(item.colours[i], place, rows);
    if (item.alpha) kept.planes[3].prepare(*item.alpha, place, rows);

    storeDirectParts(layer, rows);
    for (int y = rows.begin; y < rows.end;) {
        const Part* direct = directPartOf(layer, y);
        const std::span<const Part> inRow = parts.partsIn(y);
        if (direct != nullptr && inRow.size() == 1 && inRow.front() == *direct) {
            ++y;
            continue;
        }
        const int end = direct != nullptr ? y + 1 : equalRowsEnd(layer, parts, y, rows.end);
        if (const int ahead = y + FilteredPlane::kRowsAhead; ahead < parts.rows.end) {
            for (const Part& part : parts.partsIn(ahead)) prefetchPart(layer, ahead, part);
        }
        for (const Part& part : inRow) paintPart(layer, {y, end}, part);
        y = end;
    }
}

int TilePainter::equalRowsEnd(const Layer& layer, const LayerParts& parts, int y, int rowsEnd) {
    const PlanItem& item = layer.item;
    // Only rows of squares repeat; where they are transparent is not worth the effort.
    if (!item.isConverted || !item.mattes.empty() || item.alpha || item.colours.empty()) return y + 1;
    if (item.colours.front().levels != nullptr) return y + 1;
    const AxisTable& down = *item.colours.front().rows;
    const auto isEqual = [&](int row) {
        const auto at = static_cast<std::size_t>(row);
        if (down.first[at] != down.first[static_cast<std::size_t>(y)] || item.runsAt(row) != item.runsAt(y))
            return false;
        for (int tap = 0; tap < down.taps; ++tap) {
            if (down.weight(row, tap) != down.weight(y, tap)) return false;
        }
        const auto begin = static_cast<std::size_t>(item.down.span.begin);
        return item.down.levels[at - begin] == item.down.levels[static_cast<std::size_t>(y) - begin] &&
               std::ranges::equal(parts.partsIn(row), parts.partsIn(y));
    };
    int end = y + 1;
    while (end < rowsEnd && isEqual(end)) ++end;
    return end;
}

const TilePainter::Part* TilePainter::directPartOf(const Layer& layer, int y) const {
    if (!layer.mayBeDirect) return nullptr;
    const Direct& direct = directs_[static_cast<std::size_t>(y - layer.tile.top)];
    return direct.item == &layer.item ? &direct.part : nullptr;
}

void TilePainter::paintPart(const Layer& layer, const Part& rows, const Part& part) {
    const RowRuns runs = layer.item.runsAt(rows.begin);
    const Part opaque{std::clamp(runs.opaqueBegin, part.begin, part.end),
                      std::clamp(runs.opaqueEnd, part.begin, part.end)};
    if (opaque.begin >= opaque.end) return blendPart(layer, rows, part);
    if (part.begin < opaque.begin) blendPart(layer, rows, {part.begin, opaque.begin});
    const Part* direct = directPartOf(layer, rows.begin);
    if (direct != nullptr && direct->begin >= opaque.begin && direct->end <= opaque.end) {
        if (opaque.begin < direct->begin) paintOpaquePart(layer, rows, {opaque.begin, direct->begin});
        if (direct->end < opaque.end) paintOpaquePart(layer, rows, {direct->end, opaque.end});
    } else {
        paintOpaquePart(layer, rows, opaque);
    }
    if (opaque.end < part.end) blendPart(layer, rows, {opaque.end, part.end});
}

void TilePainter::prefetchPart(const Layer& layer, int y, const Part& part) {
    for (std::size_t i = layer.firstColour; i < layer.colourEnd; ++i) layer.planes[i].prefetch(y, part);
    if (layer.item.alpha) layer.planes[3].prefetch(y, part);
}

void TilePainter::storeDirectParts(const Layer& layer, const Part& rows) {
    for (int y = rows.begin; y < rows.end;) {
        const Part* part = directPartOf(layer, y);
        int end = y + 1;
        while (part != nullptr && end < rows.end) {
            const Part* next = directPartOf(layer, end);
            if (next == nullptr || *next != *part) break;
            ++end;
        }
        if (part != nullptr) storePart(layer, {y, end}, *part);
        y = end;
    }
}

void TilePainter::storePart(const Layer& layer, const Part& rows, const Part& part) {
    for (std::size_t i = layer.firstColour; i < layer.colourEnd; ++i) {
        const Target& target = targets_[i - layer.firstColour];
        std::uint8_t* bytes = target.samples + rows.begin * target.stride + part.begin;
        layer.planes[i].store(rows, part, target.offset, bytes, target.stride);
    }
}

void TilePainter::paintOpaquePart(const Layer& layer, const Part& rows, const Part& opaque) {
    if (layer.isDirect && layer.hasColours()) {
        makeInPlace(layer, rows.begin, opaque);
    } else {
        coverPart(layer, rows.begin, opaque);
    }
    const int at = opaque.begin - layer.tile.left;
    Canvas& canvas = layer.canvas;
    for (int y = rows.begin + 1; y < rows.end; ++y) {
        for (int channel = 0; channel < canvas.channels + (canvas.hasAlpha ? 1 : 0); ++channel) {
            copyLevels(canvas.row(channel, y - layer.tile.top) + at,
                       canvas.row(channel, rows.begin - layer.tile.top) + at, opaque.end - opaque.begin);
        }
    }
}

void TilePainter::makeInPlace(const Layer& layer, int y, const Part& part) {
    Canvas& canvas = layer.canvas;
    const int row = y - layer.tile.top;
    const int at = part.begin - layer.tile.left;
    for (std::size_t i = layer.firstColour; i < layer.colourEnd; ++i) {
        layer.planes[i].levels(y, part, canvas.row(static_cast<int>(i - layer.firstColour), row) + at);
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

void TilePainter::blendPart(const Layer& layer, const Part& rows, const Part& part) {
    Canvas& canvas = layer.canvas;
    const int count = part.end - part.begin;
    const int at = part.begin - layer.tile.left;
    std::array<std::int16_t, Canvas::kStride> alpha;
    if (layer.item.alpha) {
        layer.planes[3].levels(rows.begin, part, alpha.data());
    } else {
        std::fill_n(alpha.begin(), count, std::int16_t{kFullLevel});
    }
    std::int16_t* colours[3] = {nullptr, nullptr, nullptr};
    coloursOf(layer, rows.begin, part, alpha.data(), colours);
    std::array<std::int16_t, Canvas::kStride> factors;
    if (factorLevels(layer, rows.begin, part, factors.data())) {
        multiplyLevels(alpha.data(), factors.data(), count);
        for (int channel = 0; channel < canvas.channels; ++channel) {
            if (colours[channel] != nullptr) multiplyLevels(colours[channel], factors.data(), count);
        }
    }
    for (int row = rows.begin - layer.tile.top; row < rows.end - layer.tile.top; ++row) {
        for (int channel = 0; channel < canvas.channels; ++channel) {
            blendLevels(canvas.row(channel, row) + at, colours[channel], alpha.data(), count);
        }
        if (canvas.hasAlpha) blendLevels(canvas.alphaRow(row) + at, alpha.data(), alpha.data(), count);
    }
}

void TilePainter::coloursOf(const Layer& layer, int y, const Part& part, std::int16_t* alpha, std::int16_t** colours) {
    auto& rows = layer.own.rows;
    const int count = part.end - part.begin;
    for (std::size_t i = layer.firstColour; i < layer.colourEnd; ++i) {
        layer.planes[i].levels(y, part, rows[i].data());
    }
    if (layer.isDirect && layer.hasColours()) {
        for (std::size_t i = layer.firstColour; i < layer.colourEnd; ++i)
            colours[i - layer.firstColour] = rows[i].data();
        return;
    }
    if (!layer.item.isYuv) limitPremultiplied(rows[0].data(), rows[1].data(), rows[2].data(), alpha, count);
    if (layer.hasColours()) convert(layer.item, layer.own, count, colours);
}

bool TilePainter::coverageLevels(const PlanItem& item, int y, const Part& part, std::int16_t* factors) {
    const int count = part.end - part.begin;
    const bool isFull = item.across.full.begin <= part.begin && part.end <= item.across.full.end;
    const int down = item.down.levels[static_cast<std::size_t>(y - item.down.span.begin)];
    const int scale = static_cast<int>(std::lround(static_cast<double>(down) * item.fade / kFullLevel));
    if (isFull && scale == kFullLevel) {
        std::fill_n(factors, count, std::int16_t{kFullLevel});
        return false;
    }
    copyLevels(factors, item.across.levels.data() + (part.begin - item.across.span.begin), count);
    if (scale < kFullLevel) scaleLevels(factors, scale, count);
    return true;
}

bool TilePainter::factorLevels(const Layer& layer, int y, const Part& part, std::int16_t* factors) {
    const bool isCovered = coverageLevels(layer.item, y, part, factors);
    matteLevels(layer.item, y, part, layer.level + 1, factors);
    return isCovered || !layer.item.mattes.empty();
}

}  // namespace lumivastor::imaging
