#include "imaging/paint_plan.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <variant>

#include "base/precondition.h"
#include "imaging/picture_node.h"

namespace lumivastor {

namespace {

constexpr double kEndless = std::numeric_limits<double>::infinity();

struct Interval {
    double low = -kEndless;
    double high = kEndless;
};

Interval shared(const Interval& a, const Interval& b) {
    return {std::max(a.low, b.low), std::min(a.high, b.high)};
}

// What the steps above the current one do to an axis. Everything but `readable` is in grid coordinates; the vertical
// axis counts from the bottom until the layer at its end turns it over.
struct AxisSteps {
    struct Clamp {
        Interval visible;  // what the crops before it leave
        Interval extent;
    };
    std::vector<Clamp> clamps;
    Interval visible;   // what the crops since the last clamp leave
    Interval readable;  // in the current step's own coordinates
    double scale = 1;   // from the step's space to the grid
    double translate = 0;

    Interval toGrid(double low, double high) const { return {low * scale + translate, high * scale + translate}; }

    void transform(double stepScale, double stepTranslate) {
        translate += stepTranslate * scale;
        scale *= stepScale;
        readable = {(readable.low - stepTranslate) / stepScale, (readable.high - stepTranslate) / stepScale};
    }
    void crop(double low, double high) {
        visible = shared(visible, toGrid(low, high));
        readable = {std::clamp(readable.low, low, high), std::clamp(readable.high, low, high)};
    }
    void clamp(double low, double high) {
        clamps.push_back({visible, toGrid(low, high)});
        visible = {};
    }
    // The same, counted from the other end of a grid of this length and a source of that one.
    void turnOver(double gridLength, double sourceLength) {
        const auto turned = [](const Interval& interval, double length) {
            return Interval{length - interval.high, length - interval.low};
        };
        for (Clamp& step : clamps) {
            step.visible = turned(step.visible, gridLength);
            step.extent = turned(step.extent, gridLength);
        }
        visible = turned(visible, gridLength);
        readable = turned(readable, sourceLength);
        translate = gridLength - (sourceLength * scale + translate);
    }
};

// Where the samples of an axis fall, in grid coordinates, with the parts of their squares to either side.
struct PlacedAxis {
    AxisCoverage coverage;
    std::vector<double> positions, lows, highs;  // lows and highs: the visible part of each square
};

PlacedAxis placed(const AxisSteps& steps, const Interval& extent, int count, double offset, double length) {
    PlacedAxis axis;
    axis.positions.resize(static_cast<std::size_t>(count));
    axis.lows.resize(axis.positions.size());
    axis.highs.resize(axis.positions.size());
    std::vector<std::int16_t> levels(axis.positions.size());
    const Interval last = shared(steps.visible, extent);
    AxisSpan span{count, 0};
    AxisSpan full{count, count};
    for (int i = 0; i < count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        double position = i + offset;
        const double before = position - std::max(position - 0.5, 0.0);
        const double after = std::min(position + 0.5, length) - position;
        double part = 1;
        const auto partOf = [&](const Interval& interval) {
            return sharedLength(position - before, position + after, interval.low, interval.high) / (before + after);
        };
        for (const auto& step : steps.clamps) {
            part *= partOf(step.visible);
            const double from = step.extent.low + before;
            const double to = step.extent.high - after;
            position = from < to ? std::clamp(position, from, to) : (from + to) / 2;
        }
        part *= partOf(last);
        axis.positions[at] = position;
        axis.lows[at] = std::max(position - before, last.low);
        axis.highs[at] = std::min(position + after, last.high);
        // A part that no 8-bit sample can show counts as nothing, or as everything.
        levels[at] = static_cast<std::int16_t>(std::lround(part * kFullLevel));
        if (levels[at] == 0) continue;
        span = {std::min(span.begin, i), i + 1};
        if (levels[at] == kFullLevel) {
            if (full.begin == count) full = {i, i};
            if (full.end == i) full.end = i + 1;
        }
    }
    if (span.begin >= span.end) return axis;
    axis.coverage.span = span;
    axis.coverage.full = full.begin < full.end ? full : AxisSpan{span.begin, span.begin};
    axis.coverage.levels.assign(levels.begin() + span.begin, levels.begin() + span.end);
    return axis;
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
    const auto squaresOf = [&](const PlacedAxis& axis, const AxisSteps& steps, double centre, bool turned) {
        double low = kEndless;
        double high = -kEndless;
        for (int i = axis.coverage.span.begin; i < axis.coverage.span.end; ++i) {
            low = std::min(low, axis.lows[static_cast<std::size_t>(i)]);
            high = std::max(high, axis.highs[static_cast<std::size_t>(i)]);
        }
        if (turned) {
            low = grid.height - low;
            high = grid.height - high;
            std::swap(low, high);
        }
        const auto square = [&](double value) {
            return ((value - steps.translate) / steps.scale - centre) / node.scale;
        };
        return std::pair{std::floor(square(low) + 1e-9), std::ceil(square(high) - 1e-9)};
    };
    const auto [left, right] = squaresOf(x, across, node.centre.x, false);
    const auto [bottom, top] = squaresOf(y, up, node.centre.y, true);
    const double pixelLeft = std::floor(node.centre.x + left * node.scale);
    const double pixelBottom = std::floor(node.centre.y + bottom * node.scale);
    const double pixelRight = std::ceil(node.centre.x + right * node.scale);
    const double pixelTop = std::ceil(node.centre.y + top * node.scale);
    precondition((pixelRight - pixelLeft) * (pixelTop - pixelBottom) < 1e9, "pixellated pictures are cropped");
    const auto width = static_cast<int>(pixelRight - pixelLeft);
    const auto height = static_cast<int>(pixelTop - pixelBottom);
    const auto pixels =
        services.paint(node.input.transformed(AffineTransform::translation(-pixelLeft, -pixelBottom)), width, height);

    BgraPremultipliedBuffer means(static_cast<int>(right - left), static_cast<int>(top - bottom));
    for (int row = 0; row < means.height(); ++row) {
        const double squareTop = pixelTop - (node.centre.y + (top - row) * node.scale);  // from the pixels' top
        for (int column = 0; column < means.width(); ++column) {
            const double squareLeft = node.centre.x + (left + column) * node.scale - pixelLeft;
            double sums[4] = {};
            for (int py = static_cast<int>(squareTop); py < std::min<double>(height, squareTop + node.scale); ++py) {
                const double partY = sharedLength(py, py + 1, squareTop, squareTop + node.scale);
                const int last = static_cast<int>(std::min<double>(width, std::ceil(squareLeft + node.scale)));
                for (int px = static_cast<int>(squareLeft); px < last; ++px) {
                    const double part = partY * sharedLength(px, px + 1, squareLeft, squareLeft + node.scale);
                    const std::uint8_t* pixel = pixels->pixel(px, py);
                    for (int i = 0; i < 4; ++i) sums[i] += part * pixel[i];
                }
            }
            for (int i = 0; i < 4; ++i) {
                means.pixel(column, row)[i] =
                    static_cast<std::uint8_t>(std::lround(sums[i] / (node.scale * node.scale)));
            }
        }
    }
    item.planes = std::make_shared<const SourcePlanes>(makeSourcePlanes(means));

    const auto areaTable = [&](const PlacedAxis& axis, double scale, double translate, int count) {
        std::vector<double> lows = axis.lows;
        std::vector<double> highs = axis.highs;
        for (double& low : lows) low = (low - translate) / scale;
        for (double& high : highs) high = (high - translate) / scale;
        return keep(item, std::make_shared<const AxisTable>(makeAreaTable(lows, highs, axis.coverage.span, count)));
    };
    const double leftOnGrid = (node.centre.x + left * node.scale) * across.scale + across.translate;
    const double topOnGrid = grid.height - ((node.centre.y + top * node.scale) * up.scale + up.translate);
    const AxisTable* columns = areaTable(x, node.scale * across.scale, leftOnGrid, means.width());
    const AxisTable* rows = areaTable(y, node.scale * up.scale, topOnGrid, means.height());
    addBufferPlanes(item, columns, rows);
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
