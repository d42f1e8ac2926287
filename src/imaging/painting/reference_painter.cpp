// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/reference_painter.h"

#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>
#include <variant>
#include <vector>

#include "imaging/painting/resampling.h"
#include "imaging/picture_node.h"
#include "imaging/yuv_coefficients.h"

namespace lumivastor::imaging {

namespace {

// Premultiplied, 255 is full; may lie outside 0...255 until it is stored.
struct Colour {
    double red = 0, green = 0, blue = 0, alpha = 0;
};

Colour operator*(const Colour& colour, double factor) {
    return {colour.red * factor, colour.green * factor, colour.blue * factor, colour.alpha * factor};
}

Colour operator+(const Colour& a, const Colour& b) {
    return {a.red + b.red, a.green + b.green, a.blue + b.blue, a.alpha + b.alpha};
}

Colour limited(const Colour& colour) {
    const auto limit = [](double value) { return std::clamp(value, 0.0, 255.0); };
    return {limit(colour.red), limit(colour.green), limit(colour.blue), limit(colour.alpha)};
}

constexpr double kEndless = std::numeric_limits<double>::infinity();

struct AxisInterval {
    double low = -kEndless;
    double high = kEndless;
};

AxisInterval shared(const AxisInterval& a, const AxisInterval& b) {
    return {std::max(a.low, b.low), std::min(a.high, b.high)};
}

// A position along one axis and how it looks from the step of the recipe that is being evaluated. `position`, `before`,
// `after` and `visible` are in grid coordinates with the origin at the bottom-left, `readable` in the step's own.
struct AxisView {
    double position = 0;
    double before = 0.5;  // how far the sample's square reaches to either side
    double after = 0.5;
    AxisInterval visible;
    double coverage = 1;  // of the crops above the last clamp
    AxisInterval readable;
    double scale = 1;  // from the step's space to the grid
    double translate = 0;

    double coverageBy(const AxisInterval& interval) const {
        const AxisInterval seen = shared(visible, interval);
        const double low = position - before;
        const double high = position + after;
        return coverage * sharedLength(low, high, seen.low, seen.high) / (high - low);
    }
    double sourcePosition() const { return (position - translate) / scale; }
    AxisInterval toGrid(double low, double high) const { return {low * scale + translate, high * scale + translate}; }

    void transform(double stepScale, double stepTranslate) {
        translate += stepTranslate * scale;
        scale *= stepScale;
        readable.low = (readable.low - stepTranslate) / stepScale;
        readable.high = (readable.high - stepTranslate) / stepScale;
    }
    void crop(double low, double high) {
        visible = shared(visible, toGrid(low, high));
        readable = {std::clamp(readable.low, low, high), std::clamp(readable.high, low, high)};
    }
    void clamp(double low, double high) {
        coverage = coverageBy({});
        visible = {};
        const AxisInterval grid = toGrid(low, high);
        const double from = grid.low + before;
        const double to = grid.high - after;
        position = from < to ? std::clamp(position, from, to) : (from + to) / 2;
    }
};

// A square of a pixellated area, by the step of the recipe, the area's number and the square's column and row.
using SquareKey = std::tuple<const MosaicNode*, std::size_t, long, long>;
using Averages = std::map<SquareKey, Colour>;

struct View {
    AxisView x, y;
    Averages* averages = nullptr;  // that were taken for this painting
};

Colour evaluate(const Picture& picture, const View& view);

// How much each sample of a range counts at a position along one axis; the kernel's parts beyond the range count for
// its ends. `position` is in units of the samples, the first at 0; `scale` is the grid distance of neighbouring
// samples.
std::vector<double> weightsOf(double position, double scale, SampleRange range, int count) {
    std::vector<double> weights(static_cast<std::size_t>(range.last - range.first + 1));
    const double wide = kernelWidening(scale, count);
    double sum = 0;
    const double from = std::floor(position - kKernelReach * wide);
    for (double sample = from; sample <= position + kKernelReach * wide; ++sample) {
        const double weight = kernelAt((sample - position) / wide);
        const double limited = std::clamp(sample, double(range.first), double(range.last));
        weights[static_cast<std::size_t>(limited) - static_cast<std::size_t>(range.first)] += weight;
        sum += weight;
    }
    for (double& weight : weights) weight /= sum;
    return weights;
}

struct Plane {
    double x, y;            // the position, in units of the samples
    double scaleX, scaleY;  // grid distances of neighbouring samples
    SampleRange columns, rows;
    int width, height;
};

template <typename Value, typename At>
Value resampled(const Plane& plane, const At& at) {
    const auto across = weightsOf(plane.x, plane.scaleX, plane.columns, plane.width);
    const auto down = weightsOf(plane.y, plane.scaleY, plane.rows, plane.height);
    Value sum{};
    for (int row = plane.rows.first; row <= plane.rows.last; ++row) {
        const double weightY = down[static_cast<std::size_t>(row - plane.rows.first)];
        if (weightY == 0) continue;
        for (int column = plane.columns.first; column <= plane.columns.last; ++column) {
            const double weightX = across[static_cast<std::size_t>(column - plane.columns.first)];
            if (weightX != 0) sum = sum + at(column, row) * (weightX * weightY);
        }
    }
    return sum;
}

struct Evaluator {
    const View& view;

    Colour operator()(const EmptyNode&) const { return {}; }

    Colour operator()(const BufferNode& node) const {
        const auto& buffer = *node.buffer;
        const double coverage =
            view.x.coverageBy(view.x.toGrid(0, buffer.width())) * view.y.coverageBy(view.y.toGrid(0, buffer.height()));
        if (coverage == 0) return {};
        const Plane plane{view.x.sourcePosition() - 0.5,
                          view.y.sourcePosition() - 0.5,
                          view.x.scale,
                          view.y.scale,
                          samplesTouching(view.x.readable.low, view.x.readable.high, buffer.width()),
                          samplesTouching(view.y.readable.low, view.y.readable.high, buffer.height()),
                          buffer.width(),
                          buffer.height()};
        Colour colour = resampled<Colour>(plane, [&](int column, int row) {
            const std::uint8_t* pixel = buffer.pixel(column, buffer.height() - 1 - row);
            return Colour{double(pixel[2]), double(pixel[1]), double(pixel[0]), double(pixel[3])};
        });
        // The kernel overshoots at edges; premultiplied colours stay between nothing and their alpha.
        colour.alpha = std::clamp(colour.alpha, 0.0, 255.0);
        colour.red = std::clamp(colour.red, 0.0, colour.alpha);
        colour.green = std::clamp(colour.green, 0.0, colour.alpha);
        colour.blue = std::clamp(colour.blue, 0.0, colour.alpha);
        return colour * coverage;
    }

    Colour operator()(const BackgroundNode& node) const {
        const StudioBackground& background = *node.background;
        const double coverage = view.x.coverageBy(view.x.toGrid(0, background.width)) *
                                view.y.coverageBy(view.y.toGrid(0, background.height));
        const RgbColour colour =
            background.colourAt(view.x.sourcePosition(), background.height - view.y.sourcePosition());
        return Colour{colour.red * 255, colour.green * 255, colour.blue * 255, 255} * coverage;
    }

    Colour operator()(const YuvNode& node) const {
        const YuvPicture& source = node.picture;
        const double coverage =
            view.x.coverageBy(view.x.toGrid(0, source.width)) * view.y.coverageBy(view.y.toGrid(0, source.height));
        if (coverage == 0) return {};
        const SampleRange columns = samplesTouching(view.x.readable.low, view.x.readable.high, source.width);
        const SampleRange rowsUp = samplesTouching(view.y.readable.low, view.y.readable.high, source.height);
        // Rows from the top from here on, as the planes hold them: with an odd height the halves differ.
        const SampleRange rows{source.height - 1 - rowsUp.last, source.height - 1 - rowsUp.first};
        const double x = view.x.sourcePosition();
        const double y = source.height - view.y.sourcePosition();
        const auto sampleOf = [](const YuvPlane& plane) {
            return [&plane](int column, int row) { return double(plane.samples[row * plane.stride + column]); };
        };
        const SampleRange halfColumns{columns.first / 2, columns.last / 2};
        const SampleRange halfRows{rows.first / 2, rows.last / 2};
        const YuvCoefficients yuv(source.encoding);
        const Plane full{x - 0.5, y - 0.5, view.x.scale, view.y.scale, columns, rows, source.width, source.height};
        const Plane half{(x - 0.5) / 2, (y - 1) / 2, view.x.scale * 2,     view.y.scale * 2,
                         halfColumns,   halfRows,    source.chromaWidth(), source.chromaHeight()};
        const double luma = resampled<double>(full, sampleOf(source.luma)) - yuv.lumaOffset;
        const auto difference = [&](const YuvPlane& plane) { return resampled<double>(half, sampleOf(plane)) - 128; };
        const double cb = difference(source.cb);
        const double cr = difference(source.cr);
        return Colour{yuv.red(luma, cr), yuv.green(luma, cb, cr), yuv.blue(luma, cb), 255} * coverage;
    }

    Colour operator()(const TransformNode& node) const {
        View inner = view;
        inner.x.transform(node.transform.scaleX, node.transform.translateX);
        inner.y.transform(node.transform.scaleY, node.transform.translateY);
        return evaluate(node.input, inner);
    }

    Colour operator()(const CropNode& node) const {
        View inner = view;
        inner.x.crop(node.rect.minX(), node.rect.maxX());
        inner.y.crop(node.rect.minY(), node.rect.maxY());
        return evaluate(node.input, inner);
    }

    Colour operator()(const OverNode& node) const {
        const Colour front = evaluate(node.front, view);
        return front + evaluate(node.back, view) * (1 - front.alpha / 255);
    }

    Colour operator()(const ClampNode& node) const {
        View inner = view;
        const Rect& extent = node.input.extent();
        inner.x.clamp(extent.minX(), extent.maxX());
        inner.y.clamp(extent.minY(), extent.maxY());
        return evaluate(node.input, inner);
    }

    Colour operator()(const MosaicNode& node) const {
        return withAreas(evaluate(node.input, view), node, node.plan.areas.size());
    }

    // A colour of the picture with the first `count` of its areas in squares over it.
    Colour withAreas(Colour colour, const MosaicNode& node, std::size_t count) const {
        for (std::size_t i = 0; i < count; ++i) {
            const Colour front = squares(node, i);
            colour = front + colour * (1 - front.alpha / 255);
        }
        return colour;
    }

    Colour squares(const MosaicNode& node, std::size_t area) const {
        const MosaicRect& rect = node.plan.areas[area];
        const int side = node.plan.side;
        View inner = view;
        inner.x.crop(rect.left, rect.right);
        inner.y.crop(rect.bottom, rect.top);
        const auto numbers = [&](const AxisView& axis, int start) {
            const double low = (axis.position - axis.before - axis.translate) / axis.scale;
            const double high = (axis.position + axis.after - axis.translate) / axis.scale;
            return std::array{static_cast<long>(std::floor((low - start) / side)),
                              static_cast<long>(std::ceil((high - start) / side))};
        };
        const auto part = [&](const AxisView& axis, int start, long square) {
            const double low = start + static_cast<double>(square) * side;
            return axis.coverageBy(axis.toGrid(low, low + side));
        };
        const auto columns = numbers(inner.x, rect.left);
        const auto rows = numbers(inner.y, rect.bottom);
        Colour sum;
        for (long row = rows[0]; row < rows[1]; ++row) {
            const double partY = part(inner.y, rect.bottom, row);
            if (partY == 0) continue;
            for (long column = columns[0]; column < columns[1]; ++column) {
                const double partX = part(inner.x, rect.left, column);
                if (partX > 0) sum = sum + average(node, area, column, row) * (partX * partY);
            }
        }
        return sum;
    }

    Colour operator()(const MatteNode& node) const {
        return evaluate(node.input, view) * (evaluate(node.matte, view).alpha / 255);
    }

    Colour operator()(const FadeNode& node) const { return evaluate(node.input, view) * node.alpha; }

    // The mean of one square's pixels in the picture that the areas before leave. The picture's own pixels count as
    // they can be shown: noise beyond black and white does not.
    Colour average(const MosaicNode& node, std::size_t area, long column, long row) const {
        const SquareKey key{&node, area, column, row};
        const auto known = view.averages->find(key);
        if (known != view.averages->end()) return known->second;
        const int side = node.plan.side;
        const double left = node.plan.areas[area].left + static_cast<double>(column) * side;
        const double bottom = node.plan.areas[area].bottom + static_cast<double>(row) * side;
        Colour sum;
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                View pixel;
                pixel.averages = view.averages;
                pixel.x.position = left + x + 0.5;
                pixel.y.position = bottom + y + 0.5;
                pixel.x.clamp(node.plan.bounds.left, node.plan.bounds.right);
                pixel.y.clamp(node.plan.bounds.bottom, node.plan.bounds.top);
                sum = sum + Evaluator{pixel}.withAreas(limited(evaluate(node.input, pixel)), node, area);
            }
        }
        return view.averages->emplace(key, sum * (1.0 / side / side)).first->second;
    }
};

Colour evaluate(const Picture& picture, const View& view) {
    return std::visit(Evaluator{view}, picture.node().step);
}

Colour evaluateAt(const Picture& picture, const SampleGrid& grid, int column, int row, Averages& averages) {
    View view;
    view.averages = &averages;
    const auto place = [](AxisView& axis, double position, double length) {
        axis.before = position - std::max(position - 0.5, 0.0);
        axis.after = std::min(position + 0.5, length) - position;
        axis.position = position;
    };
    place(view.x, column + grid.offsetX, grid.width);
    place(view.y, row + grid.offsetY, grid.height);
    std::swap(view.y.before, view.y.after);
    view.y.position = grid.height - view.y.position;
    view.x.scale = view.y.scale = grid.scale;
    return evaluate(picture, view);
}

std::uint8_t stored(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

}  // namespace

void paintReference(const Picture& picture, BgraPremultipliedBuffer& destination) {
    const auto grid = SampleGrid::full(destination.width(), destination.height());
    Averages averages;
    for (int y = 0; y < grid.rows; ++y) {
        for (int x = 0; x < grid.columns; ++x) {
            const Colour colour = evaluateAt(picture, grid, x, y, averages);
            std::uint8_t* pixel = destination.pixel(x, y);
            pixel[0] = stored(colour.blue);
            pixel[1] = stored(colour.green);
            pixel[2] = stored(colour.red);
            pixel[3] = stored(colour.alpha);
        }
    }
}

void paintReference(const Picture& picture, const YuvDestination& destination) {
    const YuvCoefficients yuv(destination.encoding);
    const auto full = SampleGrid::full(destination.width, destination.height);
    Averages averages;
    for (int y = 0; y < full.rows; ++y) {
        for (int x = 0; x < full.columns; ++x) {
            const Colour colour = evaluateAt(picture, full, x, y, averages);
            destination.luma[y * destination.lumaStride + x] =
                stored(yuv.luma(colour.red, colour.green, colour.blue) + yuv.lumaOffset);
        }
    }
    const auto half = SampleGrid::chroma(destination.width, destination.height);
    for (int y = 0; y < half.rows; ++y) {
        for (int x = 0; x < half.columns; ++x) {
            const Colour colour = evaluateAt(picture, half, x, y, averages);
            const auto at = y * destination.chromaStride + x;
            destination.cb[at] = stored(yuv.cb(colour.red, colour.green, colour.blue) + 128);
            destination.cr[at] = stored(yuv.cr(colour.red, colour.green, colour.blue) + 128);
        }
    }
}

}  // namespace lumivastor::imaging
