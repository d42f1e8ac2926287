#include "imaging/paint_plan.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <variant>

#include "base/precondition.h"
#include "imaging/picture_node.h"
#include "imaging/square_means.h"

namespace lumivastor {

namespace {

// The squares of a pixellated picture that show on one axis, counted from its centre, and the pixels below them.
struct SquareRange {
    double first = 0;
    double last = 0;  // behind the last one
    double firstPixel = 0;
    double lastPixel = 0;

    int count() const { return static_cast<int>(last - first); }
    int pixels() const { return static_cast<int>(lastPixel - firstPixel); }
};

// `visible`: what the grid shows, in its coordinates, counted like `steps`.
SquareRange squaresOf(const Interval& visible, const AxisSteps& steps, double centre, double side) {
    const auto square = [&](double value) { return ((value - steps.translate) / steps.scale - centre) / side; };
    SquareRange range;
    range.first = std::floor(square(visible.low) + 1e-9);
    range.last = std::ceil(square(visible.high) - 1e-9);
    range.firstPixel = std::floor(centre + range.first * side);
    range.lastPixel = std::ceil(centre + range.last * side);
    return range;
}

// From the first visible sample's square to the last one's.
Interval visiblePart(const PlacedAxis& axis) {
    Interval visible{kEndless, -kEndless};
    for (int i = axis.coverage.span.begin; i < axis.coverage.span.end; ++i) {
        visible.low = std::min(visible.low, axis.lows[static_cast<std::size_t>(i)]);
        visible.high = std::max(visible.high, axis.highs[static_cast<std::size_t>(i)]);
    }
    return visible;
}

struct Planner {
    const SampleGrid& grid;
    GridChannels channels;
    const PlanServices& services;

    struct View {
        AxisSteps x, y;
    };

    std::vector<PlanItem> itemsOf(const Picture& picture, const View& view) const {
        std::vector<PlanItem> items;
        std::visit([&](const auto& step) { add(items, step, view); }, picture.node().step);
        return items;
    }

    void add(std::vector<PlanItem>&, const EmptyNode&, const View&) const {}

    void add(std::vector<PlanItem>& items, const TransformNode& node, View view) const {
        view.x.transform(node.transform.scaleX, node.transform.translateX);
        view.y.transform(node.transform.scaleY, node.transform.translateY);
        append(items, itemsOf(node.input, view));
    }

    void add(std::vector<PlanItem>& items, const CropNode& node, View view) const {
        view.x.crop(node.rect.minX(), node.rect.maxX());
        view.y.crop(node.rect.minY(), node.rect.maxY());
        append(items, itemsOf(node.input, view));
    }

    void add(std::vector<PlanItem>& items, const ClampNode& node, View view) const {
        const Rect& extent = node.input.extent();
        view.x.clamp(extent.minX(), extent.maxX());
        view.y.clamp(extent.minY(), extent.maxY());
        append(items, itemsOf(node.input, view));
    }

    void add(std::vector<PlanItem>& items, const OverNode& node, const View& view) const {
        append(items, itemsOf(node.back, view));
        append(items, itemsOf(node.front, view));
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
        // Layers as large as the canvas that lie on it as they are, background, mattes and borders, are converted once.
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

    // Whether a source fills the whole destination, pixel for pixel.
    bool isUntouched(const AxisSteps& steps, double gridLength, int count) const {
        return steps.clamps.empty() && steps.scale == grid.scale && steps.translate == 0 &&
               count * grid.scale == gridLength && steps.visible.low <= 0 && steps.visible.high >= gridLength &&
               steps.readable.low <= 0 && steps.readable.high >= count;
    }

    // The layer as it is; without runs when nothing of it shows.
    PlanItem bufferItem(const BufferNode& node, const View& view) const {
        const auto& buffer = *node.buffer;
        PlanItem item;
        item.planes = services.sources.planesOf(node.buffer);
        const PlacedAxis x = placed(view.x, view.x.toGrid(0, buffer.width()), grid.columns, grid.offsetX, grid.width);
        const PlacedAxis y = placed(view.y, view.y.toGrid(0, buffer.height()), grid.rows, grid.offsetY, grid.height);
        if (!place(item, x, y)) return item;
        const AxisTable* columns = kernelTable(item, view.x, x, buffer.width());
        const AxisTable* rows = kernelTable(item, view.y, y, buffer.height());
        addBufferPlanes(item, columns, rows);
        updateRuns(item);
        return item;
    }

    PlanItem convertedItem(std::shared_ptr<const SourcePlanes> planes) const {
        PlanItem item;
        item.isConverted = true;
        item.planes = std::move(planes);
        const auto axis = [&](AxisCoverage& coverage, int count) {
            coverage.span = coverage.full = {0, count};
            coverage.levels.assign(static_cast<std::size_t>(count), kFullLevel);
            std::vector<double> positions(static_cast<std::size_t>(count));
            for (int i = 0; i < count; ++i) positions[static_cast<std::size_t>(i)] = i;
            return keep(item, services.tables.kernelTable(positions, coverage.span, 1, {0, count - 1}, count));
        };
        const AxisTable* columns = axis(item.across, grid.columns);
        const AxisTable* rows = axis(item.down, grid.rows);
        addBufferPlanes(item, columns, rows);
        if (!item.planes->black) {
            item.colours.resize(channels == GridChannels::luma ? 1 : 2);
            for (PlanPlane& plane : item.colours) plane.zero = channels == GridChannels::luma ? 0 : 128;
        }
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
        const PlacedAxis x = placed(view.x, view.x.toGrid(0, source.width), grid.columns, grid.offsetX, grid.width);
        const PlacedAxis y = placed(view.y, view.y.toGrid(0, source.height), grid.rows, grid.offsetY, grid.height);
        if (!place(item, x, y)) return;
        const int zero = source.encoding.range == YuvRange::limited ? 16 : 0;
        item.colours.push_back({source.luma.samples, source.luma.stride, source.width,
                                kernelTable(item, view.x, x, source.width), kernelTable(item, view.y, y, source.height),
                                zero});
        const AxisTable* columns = differenceTable(item, view.x, x, source.width, 0.5);
        const AxisTable* rows = differenceTable(item, view.y, y, source.height, 1);
        for (const YuvPlane& plane : {source.blueDifference, source.redDifference}) {
            item.colours.push_back({plane.samples, plane.stride, source.chromaWidth(), columns, rows, 128});
        }
        updateRuns(item);
        items.push_back(std::move(item));
    }

    void add(std::vector<PlanItem>& items, const PixellateNode& node, const View& view) const;
    BgraPremultipliedBuffer meansOf(const PixellateNode& node, const SquareRange& across, const SquareRange& up) const;

    // One item that stands for all.
    PlanItem single(std::vector<PlanItem> items) const {
        if (items.size() == 1) return std::move(items.front());
        PlanItem group;
        group.children = std::move(items);
        hide(group.children);
        updateRuns(group);
        return group;
    }

    static void append(std::vector<PlanItem>& items, std::vector<PlanItem> more) {
        for (PlanItem& item : more) items.push_back(std::move(item));
    }

    bool place(PlanItem& item, const PlacedAxis& x, const PlacedAxis& y) const {
        item.across = x.coverage;
        item.down = y.coverage;
        return item.across.span.begin < item.across.span.end && item.down.span.begin < item.down.span.end;
    }

    static const AxisTable* keep(PlanItem& item, std::shared_ptr<const AxisTable> table) {
        item.tables.push_back(std::move(table));
        return item.tables.back().get();
    }

    const AxisTable* kernelTable(PlanItem& item, const AxisSteps& steps, const PlacedAxis& axis, int count) const {
        std::vector<double> positions = axis.positions;
        for (double& position : positions) position = (position - steps.translate) / steps.scale - 0.5;
        return keep(
            item, services.tables.kernelTable(positions, axis.coverage.span, steps.scale,
                                              samplesTouching(steps.readable.low, steps.readable.high, count), count));
    }

    // For colour differences, whose first sample sits at `site` luma samples from the edge.
    const AxisTable* differenceTable(PlanItem& item, const AxisSteps& steps, const PlacedAxis& axis, int lumaCount,
                                     double site) const {
        std::vector<double> positions = axis.positions;
        for (double& position : positions) position = ((position - steps.translate) / steps.scale - site) / 2;
        SampleRange readable = samplesTouching(steps.readable.low, steps.readable.high, lumaCount);
        readable = {readable.first / 2, readable.last / 2};
        return keep(item, services.tables.kernelTable(positions, axis.coverage.span, steps.scale * 2, readable,
                                                      (lumaCount + 1) / 2));
    }

    // For samples of `count` squares, which are `scale` long on the grid and begin at `translate`.
    static const AxisTable* areaTable(PlanItem& item, const PlacedAxis& axis, double scale, double translate,
                                      int count) {
        std::vector<double> lows = axis.lows;
        std::vector<double> highs = axis.highs;
        for (double& low : lows) low = (low - translate) / scale;
        for (double& high : highs) high = (high - translate) / scale;
        return keep(item, std::make_shared<const AxisTable>(makeAreaTable(lows, highs, axis.coverage.span, count)));
    }

    static void addBufferPlanes(PlanItem& item, const AxisTable* columns, const AxisTable* rows) {
        const SourcePlanes& planes = *item.planes;
        const auto plane = [&](const std::vector<std::uint8_t>& samples) {
            return PlanPlane{samples.data(), planes.stride, planes.width, columns, rows, 0};
        };
        if (!planes.black) item.colours = {plane(planes.blue), plane(planes.green), plane(planes.red)};
        if (!planes.opaque) item.alpha = plane(planes.alpha);
    }

    void updateRuns(PlanItem& item) const;
    // What rows of a source last became, for the next row, which usually has the same.
    struct RunsMemo {
        RowRuns source{-1, -1, -1, -1};
        RowRuns columns;
    };
    RowRuns layerRuns(const PlanItem& item, int row, RunsMemo& memo) const;
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
        const RowRuns& runs = item.runs[static_cast<std::size_t>(row)];
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

RowRuns Planner::layerRuns(const PlanItem& item, int row, RunsMemo& memo) const {
    if (row < item.down.span.begin || row >= item.down.span.end) return {};
    RowRuns runs{item.across.span.begin, item.across.span.end, 0, 0};
    if (row >= item.down.full.begin && row < item.down.full.end) {
        runs.opaqueBegin = item.across.full.begin;
        runs.opaqueEnd = item.across.full.end;
    }
    if (!item.alpha) return runs;
    // What the source's rows under the kernel have in common.
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

void Planner::updateRuns(PlanItem& item) const {
    item.runs.resize(static_cast<std::size_t>(grid.rows));
    RunsMemo memo;
    for (int row = 0; row < grid.rows; ++row) {
        RowRuns runs = item.children.empty() ? layerRuns(item, row, memo) : stackRuns(item.children, row);
        for (const auto& matte : item.mattes) runs = sharedRuns(runs, stackRuns(matte, row));
        if (item.fade < kFullLevel || runs.opaqueBegin >= runs.opaqueEnd) runs.opaqueBegin = runs.opaqueEnd = 0;
        if (runs.hullBegin >= runs.hullEnd) runs = {};
        item.runs[static_cast<std::size_t>(row)] = runs;
    }
}

void Planner::hide(std::vector<PlanItem>& items) const {
    std::vector<AxisSpan> hidden(static_cast<std::size_t>(grid.rows));
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        item->hidden = hidden;
        for (std::size_t row = 0; row < hidden.size(); ++row) {
            const RowRuns& runs = item->runs[row];
            AxisSpan& span = hidden[row];
            if (runs.opaqueEnd - runs.opaqueBegin > span.end - span.begin) span = {runs.opaqueBegin, runs.opaqueEnd};
        }
    }
}

BgraPremultipliedBuffer Planner::meansOf(const PixellateNode& node, const SquareRange& across,
                                         const SquareRange& up) const {
    precondition((across.lastPixel - across.firstPixel) * (up.lastPixel - up.firstPixel) < 1e9,
                 "pixellated pictures are cropped");
    const auto pixels =
        services.paint(node.input.transformed(AffineTransform::translation(-across.firstPixel, -up.firstPixel)),
                       across.pixels(), up.pixels());
    std::vector<double> lefts(static_cast<std::size_t>(across.count()));
    std::vector<double> tops(static_cast<std::size_t>(up.count()));
    for (std::size_t i = 0; i < lefts.size(); ++i) {
        lefts[i] = node.centre.x + (across.first + static_cast<double>(i)) * node.scale - across.firstPixel;
    }
    for (std::size_t i = 0; i < tops.size(); ++i) {
        tops[i] = up.lastPixel - (node.centre.y + (up.last - static_cast<double>(i)) * node.scale);
    }
    return squareMeans(*pixels, lefts, tops, node.scale);
}

void Planner::add(std::vector<PlanItem>& items, const PixellateNode& node, const View& view) const {
    // Squares are counted from the left and from the bottom here; the rows are turned over at the end.
    const AxisSteps& across = view.x;
    const AxisSteps& up = view.y;
    const PlacedAxis x = placed(across, {}, grid.columns, grid.offsetX, grid.width);
    AxisSteps down = up;
    down.turnOver(grid.height, 0);
    const PlacedAxis y = placed(down, {}, grid.rows, grid.offsetY, grid.height);
    PlanItem item;
    if (!place(item, x, y)) return;

    const Interval fromTop = visiblePart(y);
    const SquareRange columns = squaresOf(visiblePart(x), across, node.centre.x, node.scale);
    const SquareRange rows =
        squaresOf({grid.height - fromTop.high, grid.height - fromTop.low}, up, node.centre.y, node.scale);
    item.planes = std::make_shared<const SourcePlanes>(makeSourcePlanes(meansOf(node, columns, rows)));

    const double left = (node.centre.x + columns.first * node.scale) * across.scale + across.translate;
    const double top = grid.height - ((node.centre.y + rows.last * node.scale) * up.scale + up.translate);
    const AxisTable* columnTable = areaTable(item, x, node.scale * across.scale, left, columns.count());
    const AxisTable* rowTable = areaTable(item, y, node.scale * up.scale, top, rows.count());
    addBufferPlanes(item, columnTable, rowTable);
    updateRuns(item);
    items.push_back(std::move(item));
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

}  // namespace lumivastor
