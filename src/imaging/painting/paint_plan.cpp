// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/paint_plan.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <type_traits>
#include <utility>
#include <variant>

#include "imaging/picture_node.h"

namespace lumivastor::imaging {

namespace {

RowRuns sharedRuns(const RowRuns& a, const RowRuns& b) {
    return {std::max(a.hullBegin, b.hullBegin), std::min(a.hullEnd, b.hullEnd), std::max(a.opaqueBegin, b.opaqueBegin),
            std::min(a.opaqueEnd, b.opaqueEnd)};
}

// Runs without ends before their beginnings.
RowRuns tidied(RowRuns runs) {
    if (runs.hullBegin >= runs.hullEnd) return {};
    if (runs.opaqueBegin >= runs.opaqueEnd) runs.opaqueBegin = runs.opaqueEnd = 0;
    return runs;
}

// Where a stack shows anything, and the widest opaque stretch of one of its items.
RowRuns stackRuns(const std::vector<PlanItem>& items, int row) {
    RowRuns all{std::numeric_limits<int>::max(), 0, 0, 0};
    for (const PlanItem& item : items) {
        const RowRuns runs = item.runsAt(row);
        if (runs.hullBegin >= runs.hullEnd) continue;
        all.hullBegin = std::min(all.hullBegin, runs.hullBegin);
        all.hullEnd = std::max(all.hullEnd, runs.hullEnd);
        if (runs.opaqueEnd - runs.opaqueBegin > all.opaqueEnd - all.opaqueBegin) {
            all.opaqueBegin = runs.opaqueBegin;
            all.opaqueEnd = runs.opaqueEnd;
        }
    }
    return all;
}

struct Planner {
    const SampleGrid& grid;
    GridChannels channels;
    const PlanServices& services;
    // The samples of the grid without any steps.
    SampledAxis plainAcross = sampled({}, grid.columns, grid.offsetX, grid.width);
    SampledAxis plainDown = sampled({}, grid.rows, grid.offsetY, grid.height);

    struct View {
        AxisSteps x, y;
    };

    std::vector<PlanItem> itemsOf(const Picture& picture, const View& view) const {
        std::vector<PlanItem> items;
        addAll(items, picture, view);
        return items;
    }

    void addAll(std::vector<PlanItem>& items, const Picture& picture, const View& view) const {
        std::visit([&](const auto& step) { add(items, step, view); }, picture.node().step);
    }

    void add(std::vector<PlanItem>&, const EmptyNode&, const View&) const {}

    void add(std::vector<PlanItem>& items, const TransformNode& node, View view) const {
        view.x.transform(node.transform.scaleX, node.transform.translateX);
        view.y.transform(node.transform.scaleY, node.transform.translateY);
        addAll(items, node.input, view);
    }

    void add(std::vector<PlanItem>& items, const CropNode& node, View view) const {
        view.x.crop(node.rect.minX(), node.rect.maxX());
        view.y.crop(node.rect.minY(), node.rect.maxY());
        addAll(items, node.input, view);
    }

    void add(std::vector<PlanItem>& items, const ClampNode& node, View view) const {
        const Rect& extent = node.input.extent();
        view.x.clamp(extent.minX(), extent.maxX());
        view.y.clamp(extent.minY(), extent.maxY());
        addAll(items, node.input, view);
    }

    void add(std::vector<PlanItem>& items, const OverNode& node, const View& view) const {
        for (const Picture* layer : layersOf(node)) addAll(items, *layer, view);
    }

    // From the bottom up. Stacks grow at their front, by a layer for each click: they are not walked down by calls.
    static std::vector<const Picture*> layersOf(const OverNode& node) {
        std::vector<const Picture*> layers{&node.front};
        const Picture* back = &node.back;
        while (const auto* below = std::get_if<OverNode>(&back->node().step)) {
            layers.push_back(&below->front);
            back = &below->back;
        }
        layers.push_back(back);
        std::reverse(layers.begin(), layers.end());
        return layers;
    }

    void add(std::vector<PlanItem>& items, const FadeNode& node, const View& view) const {
        auto inner = itemsOf(node.input, view);
        if (inner.empty()) return;
        PlanItem item = single(std::move(inner));
        item.fade = static_cast<int>(std::lround(item.fade * node.alpha));
        if (item.fade < kFullLevel) {
            for (RowRuns& runs : item.runs) runs.opaqueBegin = runs.opaqueEnd = 0;
        }
        if (item.fade > 0) items.push_back(std::move(item));
    }

    void add(std::vector<PlanItem>& items, const MatteNode& node, const View& view) const {
        auto inner = itemsOf(node.input, view);
        auto matte = itemsOf(node.matte, view);
        if (inner.empty() || matte.empty()) return;
        PlanItem item = single(std::move(inner));
        for (std::size_t row = 0; row < item.runs.size(); ++row) {
            RowRuns& runs = item.runs[row];
            runs = tidied(sharedRuns(runs, stackRuns(matte, item.firstRow + static_cast<int>(row))));
        }
        item.mattes.push_back(std::move(matte));
        items.push_back(std::move(item));
    }

    void add(std::vector<PlanItem>& items, const BufferNode& node, View view) const {
        view.y.turnOver(grid.height, node.buffer->height());
        // Layers of the canvas's size without a transform (background, mattes and borders) are converted once.
        const bool isWhole = channels != GridChannels::bgra && isUntouched(view.x, grid.width, node.buffer->width()) &&
                             isUntouched(view.y, grid.height, node.buffer->height());
        PlanItem item;
        if (isWhole) {
            item = convertedItem(services.converted(node.buffer, [&] {
                std::vector<PlanItem> alone;
                alone.push_back(bufferItem(node, view));
                hide(alone);
                return PaintPlan{grid, channels, std::move(alone), {}};
            }));
        } else {
            item = bufferItem(node, view);
        }
        if (!item.runs.empty()) items.push_back(std::move(item));
    }

    void add(std::vector<PlanItem>& items, const BackgroundNode& node, View view) const {
        const StudioBackground& background = *node.background;
        AxisSteps down = view.y;
        down.turnOver(grid.height, background.height);
        if (channels == GridChannels::bgra || !isUntouched(view.x, grid.width, background.width) ||
            !isUntouched(down, grid.height, background.height)) {
            return add(items, BufferNode{node.pixels()}, std::move(view));
        }
        PlanItem item;
        item.isConverted = true;
        item.planes = services.background(node);
        coverAll(item.across, grid.columns);
        coverAll(item.down, grid.rows);
        for (const auto& levels : item.planes->levels) {
            if (levels.empty()) continue;
            PlanPlane plane;
            plane.stride = item.planes->stride;
            plane.levels = levels.data();
            item.colours.push_back(plane);
        }
        updateRuns(item);
        items.push_back(std::move(item));
    }

    static void coverAll(AxisCoverage& coverage, int count) {
        coverage.span = coverage.full = {0, count};
        coverage.levels.assign(static_cast<std::size_t>(count), kFullLevel);
    }

    // Whether a source fills the whole destination, pixel for pixel.
    bool isUntouched(const AxisSteps& steps, double gridLength, int count) const {
        return steps.clamps.empty() && steps.scale == grid.scale && steps.translate == 0 &&
               count * grid.scale == gridLength && steps.visible.low <= 0 && steps.visible.high >= gridLength &&
               steps.readable.low <= 0 && steps.readable.high >= count;
    }

    // The layer itself; without runs when no part of it is visible.
    PlanItem bufferItem(const BufferNode& node, const View& view) const {
        const auto& buffer = *node.buffer;
        PlanItem item;
        item.planes = services.sources.planesOf(node.buffer);
        SampledAxis own[2];
        const SampledAxis& x = sampledAcross(view.x, own[0]);
        const SampledAxis& y = sampledDown(view.y, own[1]);
        if (!place(item, {x, shown(view.x, 0, buffer.width())}, {y, shown(view.y, 0, buffer.height())})) return item;
        const AxisTable* columns = kernelTable(item, view.x, x, item.across.span, buffer.width());
        const AxisTable* rows = kernelTable(item, view.y, y, item.down.span, buffer.height());
        addBufferPlanes(item, columns, rows);
        updateRuns(item);
        return item;
    }

    PlanItem convertedItem(std::shared_ptr<const SourcePlanes> planes) const {
        PlanItem item;
        item.isConverted = true;
        item.planes = std::move(planes);
        const auto axis = [&](AxisCoverage& coverage, int count) {
            coverAll(coverage, count);
            std::vector<double> positions(static_cast<std::size_t>(count));
            for (int i = 0; i < count; ++i) positions[static_cast<std::size_t>(i)] = i;
            return keep(item, services.tables.kernelTable(positions, coverage.span, 1, {0, count - 1}, count));
        };
        const AxisTable* columns = axis(item.across, grid.columns);
        const AxisTable* rows = axis(item.down, grid.rows);
        addConvertedPlanes(item, columns, rows);
        updateRuns(item);
        return item;
    }

    void add(std::vector<PlanItem>& items, const YuvNode& node, View view) const {
        const YuvPicture& source = node.picture;
        view.y.turnOver(grid.height, source.height);
        PlanItem item;
        item.isYuv = true;
        item.yuv = source;
        item.encoding = source.encoding;
        SampledAxis own[2];
        const SampledAxis& x = sampledAcross(view.x, own[0]);
        const SampledAxis& y = sampledDown(view.y, own[1]);
        if (!place(item, {x, shown(view.x, 0, source.width)}, {y, shown(view.y, 0, source.height)})) return;
        const AxisSpan across = item.across.span;
        const AxisSpan down = item.down.span;
        const int zero = source.encoding.range == YuvRange::limited ? 16 : 0;
        item.colours = {{source.luma.samples, source.luma.stride, source.width, nullptr, nullptr, zero},
                        {source.cb.samples, source.cb.stride, source.chromaWidth(), nullptr, nullptr, 128},
                        {source.cr.samples, source.cr.stride, source.chromaWidth(), nullptr, nullptr, 128}};
        // Of the destination's encoding, luma takes no chroma and chroma no luma.
        const bool sameEncoding = source.encoding == services.encoding;
        if (channels != GridChannels::chroma || !sameEncoding) {
            item.colours[0].columns = kernelTable(item, view.x, x, across, source.width);
            item.colours[0].rows = kernelTable(item, view.y, y, down, source.height);
        }
        if (channels != GridChannels::luma || !sameEncoding) {
            item.colours[1].columns = differenceTable(item, view.x, x, across, source.width, 0.5);
            item.colours[1].rows = differenceTable(item, view.y, y, down, source.height, 1);
            item.colours[2].columns = item.colours[1].columns;
            item.colours[2].rows = item.colours[1].rows;
        }
        updateRuns(item);
        items.push_back(std::move(item));
    }

    void add(std::vector<PlanItem>& items, const MosaicNode& node, const View& view) const;

    // One item that replaces all.
    PlanItem single(std::vector<PlanItem> items) const {
        if (items.size() == 1) return std::move(items.front());
        PlanItem group;
        group.children = std::move(items);
        hide(group.children);
        updateRuns(group);
        return group;
    }

    // `own` keeps the samples if they are not simply the grid's.
    const SampledAxis& sampledAcross(const AxisSteps& steps, SampledAxis& own) const {
        if (steps.clamps.empty()) return plainAcross;
        return own = sampled(steps, grid.columns, grid.offsetX, grid.width);
    }
    const SampledAxis& sampledDown(const AxisSteps& steps, SampledAxis& own) const {
        if (steps.clamps.empty()) return plainDown;
        return own = sampled(steps, grid.rows, grid.offsetY, grid.height);
    }

    // What shows of a stretch of a step's own space.
    static AxisInterval shown(const AxisSteps& steps, double low, double high) {
        return shared(steps.visible, steps.toGrid(low, high));
    }

    struct Place {
        const SampledAxis& samples;
        AxisInterval shown;
    };

    static bool place(PlanItem& item, const Place& x, const Place& y) {
        item.across = coverageOf(x.samples, x.shown);
        item.down = coverageOf(y.samples, y.shown);
        return item.across.span.begin < item.across.span.end && item.down.span.begin < item.down.span.end;
    }

    static const AxisTable* keep(PlanItem& item, std::shared_ptr<const AxisTable> table) {
        item.tables.push_back(std::move(table));
        return item.tables.back().get();
    }

    const AxisTable* kernelTable(PlanItem& item, const AxisSteps& steps, const SampledAxis& axis, AxisSpan span,
                                 int count) const {
        std::vector<double> positions(axis.positions.size());
        for (int i = span.begin; i < span.end; ++i) {
            const auto at = static_cast<std::size_t>(i);
            positions[at] = (axis.positions[at] - steps.translate) / steps.scale - 0.5;
        }
        return keep(
            item, services.tables.kernelTable(positions, span, steps.scale,
                                              samplesTouching(steps.readable.low, steps.readable.high, count), count));
    }

    // For chroma, whose first sample sits at `site` luma samples from the edge.
    const AxisTable* differenceTable(PlanItem& item, const AxisSteps& steps, const SampledAxis& axis, AxisSpan span,
                                     int lumaCount, double site) const {
        std::vector<double> positions(axis.positions.size());
        for (int i = span.begin; i < span.end; ++i) {
            const auto at = static_cast<std::size_t>(i);
            positions[at] = ((axis.positions[at] - steps.translate) / steps.scale - site) / 2;
        }
        SampleRange readable = samplesTouching(steps.readable.low, steps.readable.high, lumaCount);
        readable = {readable.first / 2, readable.last / 2};
        return keep(item, services.tables.kernelTable(positions, span, steps.scale * 2, readable, (lumaCount + 1) / 2));
    }

    // For samples of `count` squares, which are `side` long on the grid and begin at `start`.
    static const AxisTable* areaTable(PlanItem& item, const Place& place, AxisSpan span, double side, double start,
                                      int count) {
        const auto size = static_cast<std::size_t>(span.end - span.begin);
        std::vector<double> lows(size);
        std::vector<double> highs(size);
        const double* positions = place.samples.positions.data() + span.begin;
        const double* befores = place.samples.befores.data() + span.begin;
        const double* afters = place.samples.afters.data() + span.begin;
        const AxisInterval shown = place.shown;
        for (std::size_t i = 0; i < size; ++i)
            lows[i] = (std::max(positions[i] - befores[i], shown.low) - start) / side;
        for (std::size_t i = 0; i < size; ++i) {
            highs[i] = (std::min(positions[i] + afters[i], shown.high) - start) / side;
        }
        return keep(item, std::make_shared<const AxisTable>(makeAreaTable(lows, highs, span, count)));
    }

    static void addBufferPlanes(PlanItem& item, const AxisTable* columns, const AxisTable* rows) {
        const SourcePlanes& planes = *item.planes;
        const auto plane = [&](const PlaneSamples& samples) {
            return PlanPlane{samples.data(), planes.stride, planes.width, columns, rows, 0};
        };
        if (!planes.black) item.colours = {plane(planes.blue), plane(planes.green), plane(planes.red)};
        if (!planes.opaque) item.alpha = plane(planes.alpha);
    }

    // Of planes that hold the grid's channels.
    void addConvertedPlanes(PlanItem& item, const AxisTable* columns, const AxisTable* rows) const {
        addBufferPlanes(item, columns, rows);
        if (item.planes->black) return;
        item.colours.resize(channels == GridChannels::luma ? 1 : 2);
        for (PlanPlane& plane : item.colours) plane.zero = channels == GridChannels::luma ? 0 : 128;
    }

    SourcePlanes planesFor(const Mosaic& mosaic, const MosaicRect& hidden) const;

    static void updateRuns(PlanItem& item);
    // The last result for rows of a source, because the next row usually has the same.
    struct RunsMemo {
        RowRuns source{-1, -1, -1, -1};
        RowRuns columns;
        std::size_t equalEnd = 0;  // of the source's rows that have these runs
    };
    static RowRuns layerRuns(const PlanItem& item, int row, RunsMemo& memo);
    void hide(std::vector<PlanItem>& items) const;
};

RowRuns Planner::layerRuns(const PlanItem& item, int row, RunsMemo& memo) {
    if (row < item.down.span.begin || row >= item.down.span.end) return {};
    RowRuns runs{item.across.span.begin, item.across.span.end, 0, 0};
    if (row >= item.down.full.begin && row < item.down.full.end) {
        runs.opaqueBegin = item.across.full.begin;
        runs.opaqueEnd = item.across.full.end;
    }
    if (!item.alpha) return runs;
    // The common part of the source's rows under the kernel.
    const AxisTable& rows = *item.alpha->rows;
    const auto firstRow = static_cast<std::size_t>(rows.first[static_cast<std::size_t>(row)]);
    const auto& sourceRuns = item.planes->runs;
    RowRuns source{std::numeric_limits<int>::max(), 0, 0, std::numeric_limits<int>::max()};
    const std::size_t endRow = firstRow + static_cast<std::size_t>(rows.taps);
    if (endRow <= memo.equalEnd) return sharedRuns(runs, memo.columns);
    // One of equal rows is enough.
    const bool isEqual = !item.planes->equalRunsEnd.empty() && endRow <= item.planes->equalRunsEnd[firstRow];
    memo.equalEnd = isEqual ? item.planes->equalRunsEnd[firstRow] : 0;
    for (std::size_t at = firstRow; at < (isEqual ? firstRow + 1 : endRow); ++at) {
        const RowRuns& some = sourceRuns[at];
        if (some.hullBegin < some.hullEnd) {
            source.hullBegin = std::min(source.hullBegin, some.hullBegin);
            source.hullEnd = std::max(source.hullEnd, some.hullEnd);
        }
        source.opaqueBegin = std::max(source.opaqueBegin, some.opaqueBegin);
        source.opaqueEnd = std::min(source.opaqueEnd, some.opaqueEnd);
    }
    if (memo.source != source) {
        const AxisTable& columns = *item.alpha->columns;
        const int* begin = columns.first.data() + item.across.span.begin;
        const int* end = columns.first.data() + item.across.span.end;
        // The first column whose taps begin at `first` or later; usually not far from that of the row before.
        const auto columnOf = [&](int first, int before) {
            const int* from = std::clamp(columns.first.data() + before, begin, end);
            const int* const least = from - std::min<std::ptrdiff_t>(from - begin, 8);
            const int* const most = from + std::min<std::ptrdiff_t>(end - from, 8);
            while (from > least && from[-1] >= first) --from;
            while (from < most && *from < first) ++from;
            const bool isFound = (from == begin || from[-1] < first) && (from == end || *from >= first);
            return static_cast<int>((isFound ? from : std::lower_bound(begin, end, first)) - columns.first.data());
        };
        memo.source = source;
        const RowRuns before = memo.columns;
        memo.columns = {columnOf(source.hullBegin - columns.taps + 1, before.hullBegin),
                        columnOf(source.hullEnd, before.hullEnd), columnOf(source.opaqueBegin, before.opaqueBegin),
                        columnOf(source.opaqueEnd - columns.taps + 1, before.opaqueEnd)};
    }
    return sharedRuns(runs, memo.columns);
}

// The rows in which an item or a stack shows anything.
AxisSpan rowsOf(const std::vector<PlanItem>& items) {
    AxisSpan rows{std::numeric_limits<int>::max(), 0};
    for (const PlanItem& item : items) {
        rows = {std::min(rows.begin, item.firstRow), std::max(rows.end, item.endRow())};
    }
    return rows;
}

void Planner::updateRuns(PlanItem& item) {
    const AxisSpan rows = item.children.empty() ? item.down.span : rowsOf(item.children);
    item.firstRow = rows.begin;
    item.runs.resize(static_cast<std::size_t>(rows.end - rows.begin));
    RunsMemo memo;
    for (int row = rows.begin; row < rows.end; ++row) {
        RowRuns runs = item.children.empty() ? layerRuns(item, row, memo) : stackRuns(item.children, row);
        item.runs[static_cast<std::size_t>(row - rows.begin)] = tidied(runs);
    }
}

// The hidden part with one more opaque stretch: if the two are apart, only the wider one is kept.
AxisSpan hiddenWith(const AxisSpan& hidden, int opaqueBegin, int opaqueEnd) {
    const AxisSpan more{opaqueBegin, opaqueEnd};
    if (more.begin >= more.end) return hidden;
    if (hidden.begin >= hidden.end) return more;
    if (more.begin <= hidden.end && more.end >= hidden.begin) {
        return {std::min(hidden.begin, more.begin), std::max(hidden.end, more.end)};
    }
    return more.end - more.begin > hidden.end - hidden.begin ? more : hidden;
}

// The columns around all of an item that is not hidden.
AxisSpan shownBeside(const RowRuns& runs, const AxisSpan& hidden) {
    AxisSpan shown{runs.hullBegin, runs.hullEnd};
    if (hidden.begin >= hidden.end) return shown;
    if (hidden.begin <= shown.begin) shown.begin = std::max(shown.begin, hidden.end);
    if (hidden.end >= shown.end) shown.end = std::min(shown.end, hidden.begin);
    return shown;
}

void Planner::hide(std::vector<PlanItem>& items) const {
    std::vector<AxisSpan> hidden(static_cast<std::size_t>(grid.rows));
    const auto bands = static_cast<std::size_t>((grid.rows + kTileHeight - 1) / kTileHeight);
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        AxisSpan* const from = hidden.data() + item->firstRow;
        item->hidden.assign(from, from + item->runs.size());
        item->shownInBands.assign(bands, {std::numeric_limits<int>::max(), 0});
        for (std::size_t row = 0; row < item->runs.size(); ++row) {
            if (const AxisSpan shown = shownBeside(item->runs[row], from[row]); shown.begin < shown.end) {
                AxisSpan& all = item->shownInBands[(static_cast<std::size_t>(item->firstRow) + row) / kTileHeight];
                all = {std::min(all.begin, shown.begin), std::max(all.end, shown.end)};
            }
            from[row] = hiddenWith(from[row], item->runs[row].opaqueBegin, item->runs[row].opaqueEnd);
        }
    }
}

constexpr double kFar = 1e8;  // pixels, beyond every picture

// The pixels of a picture that are painted whole; `down` is turned over.
MosaicRect uncutPixels(const AxisSteps& across, const AxisSteps& down) {
    const auto pixel = [](const AxisSteps& steps, double position) {
        return std::clamp((position - steps.translate) / steps.scale, -kFar, kFar);
    };
    const AxisInterval x = across.uncut();
    const AxisInterval y = down.uncut();
    return {static_cast<int>(std::ceil(pixel(across, x.low))), static_cast<int>(std::ceil(-pixel(down, y.high))),
            static_cast<int>(std::floor(pixel(across, x.high))), static_cast<int>(std::floor(-pixel(down, y.low)))};
}

// How far a sample of the grid reaches in the picture, in pixels; one more forgives rounding.
int reachIn(const AxisSteps& across, const AxisSteps& down) {
    return static_cast<int>(std::min(std::ceil(1 / std::min(across.scale, down.scale)), kFar)) + 1;
}

void Planner::add(std::vector<PlanItem>& items, const MosaicNode& node, const View& view) const {
    addAll(items, node.input, view);
    const std::shared_ptr<const Mosaics> mosaics = services.mosaics(node);
    const AxisSteps& across = view.x;
    AxisSteps down = view.y;
    down.turnOver(grid.height, 0);
    SampledAxis own[2];
    const SampledAxis& x = sampledAcross(across, own[0]);
    const SampledAxis& y = sampledDown(down, own[1]);
    const MosaicRect uncut = uncutPixels(across, down);
    const int reach = reachIn(across, down);
    for (std::size_t i = 0; i < mosaics->areas.size(); ++i) {
        const Mosaic& mosaic = mosaics->areas[i];
        const MosaicRect& area = mosaic.area;
        const Place columns{x, shown(across, area.left, area.right)};
        const Place rows{y, shown(down, -area.top, -area.bottom)};
        PlanItem item;
        if (!place(item, columns, rows)) continue;
        item.planes = std::make_shared<const SourcePlanes>(planesFor(mosaic, mosaics->hiddenSquares(i, uncut, reach)));
        item.isConverted = channels != GridChannels::bgra;
        const AxisTable* columnTable = areaTable(item, columns, item.across.span, mosaics->side * across.scale,
                                                 across.toGrid(area.left, 0).low, mosaic.columns);
        const AxisTable* rowTable =
            areaTable(item, rows, item.down.span, mosaics->side * down.scale,
                      down.toGrid(-area.bottom - static_cast<double>(mosaic.rows) * mosaics->side, 0).low, mosaic.rows);
        if (item.isConverted) {
            addConvertedPlanes(item, columnTable, rowTable);
        } else {
            addBufferPlanes(item, columnTable, rowTable);
        }
        updateRuns(item);
        items.push_back(std::move(item));
    }
}

SourcePlanes Planner::planesFor(const Mosaic& mosaic, const MosaicRect& hidden) const {
    switch (channels) {
        case GridChannels::bgra:
            return planesOf(mosaic, hidden);
        case GridChannels::luma:
            return lumaOf(mosaic, services.encoding, hidden);
        case GridChannels::chroma:
            break;
    }
    return chromaOf(mosaic, services.encoding, hidden);
}

// Whether two layers are the same but for the samples of their one decoded picture, which moves nothing: a step of each
// in turn.
struct SameButForSamples {
    const Picture* before;
    const Picture* after;
    const YuvPicture* samples = nullptr;  // of the layer `after`, in the end

    bool goOn(const Picture& one, const Picture& other) {
        before = &one;
        after = &other;
        return true;
    }
    bool step(const TransformNode& a, const TransformNode& b) {
        return a.transform == b.transform && goOn(a.input, b.input);
    }
    bool step(const CropNode& a, const CropNode& b) { return a.rect == b.rect && goOn(a.input, b.input); }
    bool step(const ClampNode& a, const ClampNode& b) { return goOn(a.input, b.input); }
    bool step(const MatteNode& a, const MatteNode& b) { return a.matte == b.matte && goOn(a.input, b.input); }
    bool step(const FadeNode& a, const FadeNode& b) { return a.alpha == b.alpha && goOn(a.input, b.input); }
    bool step(const YuvNode& a, const YuvNode& b) {
        const YuvPicture& one = a.picture;
        samples = &b.picture;
        return one.width == samples->width && one.height == samples->height && one.encoding == samples->encoding;
    }
    template <typename Step>
    bool step(const Step&, const Step&) {
        return false;
    }
};

// The decoded picture of `after` if the two layers differ in its samples alone; otherwise null.
const YuvPicture* newSamples(const Picture& before, const Picture& after) {
    SameButForSamples layers{&before, &after};
    while (layers.samples == nullptr) {
        const PictureNode& a = layers.before->node();
        const PictureNode& b = layers.after->node();
        if (a.step.index() != b.step.index() || a.extent != b.extent) return nullptr;
        const auto compare = [&](const auto& step) {
            return layers.step(step, std::get<std::decay_t<decltype(step)>>(b.step));
        };
        if (!std::visit(compare, a.step)) return nullptr;
    }
    return layers.samples;
}

void setSamples(PlanItem& item, const YuvPicture& samples) {
    item.yuv = samples;
    const YuvPlane* const planes[] = {&samples.luma, &samples.cb, &samples.cr};
    for (std::size_t i = 0; i < item.colours.size(); ++i) {
        item.colours[i].samples = planes[i]->samples;
        item.colours[i].stride = planes[i]->stride;
    }
}

}  // namespace

PaintPlan makePaintPlan(const Picture& picture, const SampleGrid& grid, GridChannels channels,
                        const PlanServices& services, PaintPlan earlier) {
    const Planner planner{grid, channels, services};
    Planner::View view;
    view.x.scale = view.y.scale = grid.scale;
    PaintPlan plan{grid, channels, {}, {}};
    const auto* over = std::get_if<OverNode>(&picture.node().step);
    const auto layers = over != nullptr ? Planner::layersOf(*over) : std::vector<const Picture*>{&picture};
    // Layers rarely change their order: those before the last one found are not looked at again.
    auto known = earlier.layers.begin();
    auto knownItems = earlier.items.begin();
    for (const Picture* layer : layers) {
        const std::size_t before = plan.items.size();
        const YuvPicture* samples = nullptr;
        const auto same = std::find_if(known, earlier.layers.end(), [&](const PaintPlan::Layer& each) {
            if (each.picture == *layer) return true;
            samples = newSamples(each.picture, *layer);
            return samples != nullptr;
        });
        if (same == earlier.layers.end()) {
            planner.addAll(plan.items, *layer, view);
        } else {
            for (; known != same; ++known) knownItems += static_cast<std::ptrdiff_t>(known->items);
            const auto end = knownItems + static_cast<std::ptrdiff_t>(same->items);
            plan.items.insert(plan.items.end(), std::move_iterator(knownItems), std::move_iterator(end));
            knownItems = end;
            ++known;
            if (samples != nullptr && plan.items.size() > before) setSamples(plan.items.back(), *samples);
        }
        plan.layers.push_back({*layer, plan.items.size() - before});
    }
    planner.hide(plan.items);
    return plan;
}

}  // namespace lumivastor::imaging
