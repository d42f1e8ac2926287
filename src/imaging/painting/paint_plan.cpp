// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/paint_plan.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <variant>

#include "imaging/picture_node.h"

namespace lumivastor::imaging {

namespace {

struct Planner {
    const SampleGrid& grid;
    GridChannels channels;
    const PlanServices& services;

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
        // Stacks grow at their front, by a layer for each click: they are not walked down by calls.
        std::vector<const OverNode*> stack{&node};
        while (const auto* below = std::get_if<OverNode>(&stack.back()->back.node().step)) stack.push_back(below);
        addAll(items, stack.back()->back, view);
        for (auto each = stack.rbegin(); each != stack.rend(); ++each) addAll(items, (*each)->front, view);
    }

    void add(std::vector<PlanItem>& items, const FadeNode& node, const View& view) const {
        auto inner = itemsOf(node.input, view);
        if (inner.empty()) return;
        PlanItem item = single(std::move(inner));
        item.fade = static_cast<int>(std::lround(item.fade * node.alpha));
        updateRuns(item);
        if (item.fade > 0) items.push_back(std::move(item));
    }

    void add(std::vector<PlanItem>& items, const MatteNode& node, const View& view) const {
        auto inner = itemsOf(node.input, view);
        auto matte = itemsOf(node.matte, view);
        if (inner.empty() || matte.empty()) return;
        PlanItem item = single(std::move(inner));
        item.mattes.push_back(std::move(matte));
        updateRuns(item);
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
                return PaintPlan{grid, channels, std::move(alone)};
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
        for (const std::vector<std::int16_t>& levels : item.planes->levels) {
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
        const SampledAxis x = sampledAcross(view.x);
        const SampledAxis y = sampledDown(view.y);
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
        const SampledAxis x = sampledAcross(view.x);
        const SampledAxis y = sampledDown(view.y);
        if (!place(item, {x, shown(view.x, 0, source.width)}, {y, shown(view.y, 0, source.height)})) return;
        const AxisSpan across = item.across.span;
        const AxisSpan down = item.down.span;
        const int zero = source.encoding.range == YuvRange::limited ? 16 : 0;
        item.colours.push_back({source.luma.samples, source.luma.stride, source.width,
                                kernelTable(item, view.x, x, across, source.width),
                                kernelTable(item, view.y, y, down, source.height), zero});
        const AxisTable* columns = differenceTable(item, view.x, x, across, source.width, 0.5);
        const AxisTable* rows = differenceTable(item, view.y, y, down, source.height, 1);
        for (const YuvPlane& plane : {source.cb, source.cr}) {
            item.colours.push_back({plane.samples, plane.stride, source.chromaWidth(), columns, rows, 128});
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

    SampledAxis sampledAcross(const AxisSteps& steps) const {
        return sampled(steps, grid.columns, grid.offsetX, grid.width);
    }
    SampledAxis sampledDown(const AxisSteps& steps) const {
        return sampled(steps, grid.rows, grid.offsetY, grid.height);
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
        std::vector<double> positions = axis.positions;
        for (double& position : positions) position = (position - steps.translate) / steps.scale - 0.5;
        return keep(
            item, services.tables.kernelTable(positions, span, steps.scale,
                                              samplesTouching(steps.readable.low, steps.readable.high, count), count));
    }

    // For chroma, whose first sample sits at `site` luma samples from the edge.
    const AxisTable* differenceTable(PlanItem& item, const AxisSteps& steps, const SampledAxis& axis, AxisSpan span,
                                     int lumaCount, double site) const {
        std::vector<double> positions = axis.positions;
        for (double& position : positions) position = ((position - steps.translate) / steps.scale - site) / 2;
        SampleRange readable = samplesTouching(steps.readable.low, steps.readable.high, lumaCount);
        readable = {readable.first / 2, readable.last / 2};
        return keep(item, services.tables.kernelTable(positions, span, steps.scale * 2, readable, (lumaCount + 1) / 2));
    }

    // For samples of `count` squares, which are `side` long on the grid and begin at `start`.
    static const AxisTable* areaTable(PlanItem& item, const Place& place, AxisSpan span, double side, double start,
                                      int count) {
        std::vector<double> lows;
        std::vector<double> highs;
        lows.reserve(static_cast<std::size_t>(span.end - span.begin));
        highs.reserve(lows.capacity());
        for (int i = span.begin; i < span.end; ++i) {
            const auto at = static_cast<std::size_t>(i);
            const double position = place.samples.positions[at];
            lows.push_back((std::max(position - place.samples.befores[at], place.shown.low) - start) / side);
            highs.push_back((std::min(position + place.samples.afters[at], place.shown.high) - start) / side);
        }
        return keep(item, std::make_shared<const AxisTable>(makeAreaTable(lows, highs, span, count)));
    }

    static void addBufferPlanes(PlanItem& item, const AxisTable* columns, const AxisTable* rows) {
        const SourcePlanes& planes = *item.planes;
        const auto plane = [&](const std::vector<std::uint8_t>& samples) {
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

    SourcePlanes planesFor(const Mosaic& mosaic) const;

    static void updateRuns(PlanItem& item);
    // The last result for rows of a source, because the next row usually has the same.
    struct RunsMemo {
        RowRuns source{-1, -1, -1, -1};
        RowRuns columns;
    };
    static RowRuns layerRuns(const PlanItem& item, int row, RunsMemo& memo);
    void hide(std::vector<PlanItem>& items) const;
};

RowRuns sharedRuns(const RowRuns& a, const RowRuns& b) {
    return {std::max(a.hullBegin, b.hullBegin), std::min(a.hullEnd, b.hullEnd), std::max(a.opaqueBegin, b.opaqueBegin),
            std::min(a.opaqueEnd, b.opaqueEnd)};
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
    for (std::size_t at = firstRow; at < firstRow + static_cast<std::size_t>(rows.taps); ++at) {
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
        const auto columnOf = [&](int first) {
            return static_cast<int>(std::lower_bound(begin, end, first) - columns.first.data());
        };
        memo.source = source;
        memo.columns = {columnOf(source.hullBegin - columns.taps + 1), columnOf(source.hullEnd),
                        columnOf(source.opaqueBegin), columnOf(source.opaqueEnd - columns.taps + 1)};
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
        for (const auto& matte : item.mattes) runs = sharedRuns(runs, stackRuns(matte, row));
        if (item.fade < kFullLevel || runs.opaqueBegin >= runs.opaqueEnd) runs.opaqueBegin = runs.opaqueEnd = 0;
        if (runs.hullBegin >= runs.hullEnd) runs = {};
        item.runs[static_cast<std::size_t>(row - rows.begin)] = runs;
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

void Planner::hide(std::vector<PlanItem>& items) const {
    std::vector<AxisSpan> hidden(static_cast<std::size_t>(grid.rows));
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        AxisSpan* const from = hidden.data() + item->firstRow;
        item->hidden.assign(from, from + item->runs.size());
        for (std::size_t row = 0; row < item->runs.size(); ++row) {
            from[row] = hiddenWith(from[row], item->runs[row].opaqueBegin, item->runs[row].opaqueEnd);
        }
    }
}

void Planner::add(std::vector<PlanItem>& items, const MosaicNode& node, const View& view) const {
    addAll(items, node.input, view);
    const std::shared_ptr<const Mosaics> mosaics = services.mosaics(node);
    const AxisSteps& across = view.x;
    AxisSteps down = view.y;
    down.turnOver(grid.height, 0);
    const SampledAxis x = sampledAcross(across);
    const SampledAxis y = sampledDown(down);
    for (const Mosaic& mosaic : mosaics->areas) {
        const PixelRect& area = mosaic.area;
        const Place columns{x, shown(across, area.left, area.right)};
        const Place rows{y, shown(down, -area.top, -area.bottom)};
        PlanItem item;
        if (!place(item, columns, rows)) continue;
        item.planes = std::make_shared<const SourcePlanes>(planesFor(mosaic));
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

SourcePlanes Planner::planesFor(const Mosaic& mosaic) const {
    switch (channels) {
        case GridChannels::bgra:
            return planesOf(mosaic);
        case GridChannels::luma:
            return lumaOf(mosaic, services.encoding);
        case GridChannels::chroma:
            break;
    }
    return chromaOf(mosaic, services.encoding);
}

}  // namespace

PaintPlan makePaintPlan(const Picture& picture, const SampleGrid& grid, GridChannels channels,
                        const PlanServices& services) {
    const Planner planner{grid, channels, services};
    Planner::View view;
    view.x.scale = view.y.scale = grid.scale;
    PaintPlan plan{grid, channels, planner.itemsOf(picture, view)};
    planner.hide(plan.items);
    return plan;
}

}  // namespace lumivastor::imaging
