// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/picture_difference.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "imaging/picture_node.h"

namespace lumivastor::imaging {

namespace {

constexpr double kEndless = std::numeric_limits<double>::infinity();

// Film frames have some thirty steps.
constexpr int kMaximumSteps = 5000;
constexpr int kMaximumDepth = 100;
// More pieces become one: only areas in squares make so many.
constexpr std::size_t kMaximumPieces = 64;
// A chroma sample stands for up to 1.5 pixels beside its first one; the rest forgives rounding.
constexpr double kSampleReach = 2;
// From this part of the canvas on painting all of it takes no longer.
constexpr double kNearlyAll = 0.75;

struct Box {
    double left = 0, bottom = 0, right = 0, top = 0;

    explicit Box(const Rect& rect) : left(rect.minX()), bottom(rect.minY()), right(rect.maxX()), top(rect.maxY()) {
        if (isInfinite(rect)) *this = Box(-kEndless, -kEndless, kEndless, kEndless);
    }
    Box(double left_, double bottom_, double right_, double top_)
        : left(left_), bottom(bottom_), right(right_), top(top_) {}

    bool isEmpty() const { return !(left < right && bottom < top); }
    Box shared(const Box& other) const {
        return {std::max(left, other.left), std::max(bottom, other.bottom), std::min(right, other.right),
                std::min(top, other.top)};
    }
    Box united(const Box& other) const {
        return {std::min(left, other.left), std::min(bottom, other.bottom), std::max(right, other.right),
                std::max(top, other.top)};
    }
};

// Boxes in one picture's space, which may overlap.
class Region {
  public:
    void add(const Box& box) {
        if (box.isEmpty()) return;
        if (boxes_.size() < kMaximumPieces) {
            boxes_.push_back(box);
        } else {
            Box all = box;
            for (const Box& each : boxes_) all = all.united(each);
            boxes_.assign(1, all);
        }
    }
    void add(const Region& other) {
        for (const Box& box : other.boxes_) add(box);
    }
    bool isEmpty() const { return boxes_.empty(); }
    const std::vector<Box>& boxes() const { return boxes_; }

    template <typename Change>
    Region changed(const Change& change) const {
        Region result;
        for (const Box& box : boxes_) result.add(change(box));
        return result;
    }
    Region shared(const Box& with) const {
        return changed([&](const Box& box) { return box.shared(with); });
    }

  private:
    std::vector<Box> boxes_;
};

// How a step's picture gets to the canvas.
struct Way {
    // Canvas pixels for a pixel of the step's picture, or pixels of a picture in squares on the way if these are fewer.
    double scaleX = 1, scaleY = 1;
    int depth = 0;

    Way deeper() const {
        Way way = *this;
        ++way.depth;
        return way;
    }
};

// How far from a source pixel its kernels reach, in source pixels: those of chroma are twice as wide, and its samples
// lie up to one pixel beside the middle of their own.
double reachInSource(double scale) {
    return 2 * 2 * std::max(1.0, 1 / scale) + 2 + 2 / scale;
}

bool isSameOwner(const std::weak_ptr<const void>& one, const std::shared_ptr<const void>& other) {
    return other && !one.owner_before(other) && !other.owner_before(one);
}

class Comparison {
  public:
    bool gaveUp() const { return gaveUp_; }

    Region difference(const Picture& before, const Picture& after, const Way& way) {
        if (&before.node() == &after.node() || !mayGoOn(way)) return {};
        const auto& a = before.node().step;
        const auto& b = after.node().step;
        const Pair pair{before, after};
        if (std::holds_alternative<OverNode>(a) || std::holds_alternative<OverNode>(b)) {
            return ofStacks(pair, way.deeper());
        }
        if (a.index() != b.index()) return replaced(pair);
        const auto compare = [&](const auto& step) {
            using Step = std::decay_t<decltype(step)>;
            return ofStep(step, std::get<Step>(b), pair, way.deeper());
        };
        return std::visit(compare, a);
    }

  private:
    struct Pair {
        const Picture& before;
        const Picture& after;
    };

    bool mayGoOn(const Way& way) {
        if (++steps_ > kMaximumSteps || way.depth > kMaximumDepth) gaveUp_ = true;
        return !gaveUp_;
    }

    // One picture, or part of it, for another.
    static Region everythingOf(const Pair& pair) {
        Region region;
        region.add(Box(pair.before.extent()));
        region.add(Box(pair.after.extent()));
        return region;
    }
    Region replaced(const Pair& pair) {
        hasMoved_ = true;
        return everythingOf(pair);
    }
    // A picture for another in the same place.
    Region exchanged(const Pair& pair) {
        return pair.before.extent() == pair.after.extent() ? everythingOf(pair) : replaced(pair);
    }

    Region ofStep(const EmptyNode&, const EmptyNode&, const Pair&, const Way&) { return {}; }

    Region ofStep(const OverNode&, const OverNode&, const Pair& pair, const Way& way) { return ofStacks(pair, way); }

    Region ofStep(const BufferNode& a, const BufferNode& b, const Pair& pair, const Way&) {
        return a.buffer == b.buffer ? Region{} : exchanged(pair);
    }

    Region ofStep(const BackgroundNode& a, const BackgroundNode& b, const Pair& pair, const Way&) {
        return a.background == b.background ? Region{} : exchanged(pair);
    }

    Region ofStep(const YuvNode& a, const YuvNode& b, const Pair& pair, const Way& way) {
        if (pair.before == pair.after) return {};
        const YuvPicture& one = a.picture;
        const YuvPicture& other = b.picture;
        const bool isKnown = other.change && isSameOwner(other.change->earlier, one.owner) &&
                             one.width == other.width && one.height == other.height && one.encoding == other.encoding;
        if (!isKnown) return exchanged(pair);
        Region region;
        const double x = reachInSource(way.scaleX);
        const double y = reachInSource(way.scaleY);
        for (const PixelRect& rect : other.change->area.rects()) {
            region.add({rect.x - x, other.height - rect.maxY() - y, rect.maxX() + x, other.height - rect.y + y});
        }
        return region.shared(Box(pair.after.extent()));
    }

    Region ofStep(const TransformNode& a, const TransformNode& b, const Pair& pair, Way way) {
        if (a.transform != b.transform) return replaced(pair);
        const AffineTransform& by = a.transform;
        way.scaleX *= by.scaleX;
        way.scaleY *= by.scaleY;
        return difference(a.input, b.input, way).changed([&](const Box& box) {
            return Box(box.left * by.scaleX + by.translateX, box.bottom * by.scaleY + by.translateY,
                       box.right * by.scaleX + by.translateX, box.top * by.scaleY + by.translateY);
        });
    }

    Region ofStep(const CropNode& a, const CropNode& b, const Pair& pair, const Way& way) {
        if (a.rect != b.rect) return replaced(pair);
        return difference(a.input, b.input, way).shared(Box(a.rect));
    }

    // What is at an edge is repeated outward.
    Region ofStep(const ClampNode& a, const ClampNode& b, const Pair& pair, const Way& way) {
        if (a.input.extent() != b.input.extent()) return replaced(pair);
        const Box inside(a.input.extent());
        const double x = kSampleReach / way.scaleX;
        const double y = kSampleReach / way.scaleY;
        return difference(a.input, b.input, way).changed([&](const Box& box) {
            return Box(box.left <= inside.left + x ? -kEndless : box.left,
                       box.bottom <= inside.bottom + y ? -kEndless : box.bottom,
                       box.right >= inside.right - x ? kEndless : box.right,
                       box.top >= inside.top - y ? kEndless : box.top);
        });
    }

    // Squares change whole, and later areas average the squares of earlier ones. The picture is painted at its own size
    // to be averaged.
    Region ofStep(const MosaicNode& a, const MosaicNode& b, const Pair& pair, Way way) {
        if (a.plan != b.plan) return replaced(pair);
        way.scaleX = std::min(way.scaleX, 1.0);
        way.scaleY = std::min(way.scaleY, 1.0);
        Region region = difference(a.input, b.input, way);
        for (const MosaicRect& area : a.plan.areas) {
            if (region.isEmpty()) break;
            const MosaicRect under = a.plan.pixelsUnder(area);
            const Box pixels(under.left, under.bottom, under.right, under.top);
            Region squares;
            for (const Box& box : region.boxes()) squares.add(squaresAround(box.shared(pixels), area, a.plan.side));
            region.add(squares);
        }
        return region;
    }

    static Box squaresAround(const Box& pixels, const MosaicRect& area, int side) {
        if (pixels.isEmpty()) return pixels;
        const auto from = [side](double at, int start) { return start + std::floor((at - start) / side) * side; };
        const auto to = [side](double at, int start) { return start + std::ceil((at - start) / side) * side; };
        return Box(from(pixels.left, area.left), from(pixels.bottom, area.bottom), to(pixels.right, area.left),
                   to(pixels.top, area.bottom))
            .shared({double(area.left), double(area.bottom), double(area.right), double(area.top)});
    }

    Region ofStep(const MatteNode& a, const MatteNode& b, const Pair& pair, const Way& way) {
        return ofGroup(pair, [&] {
            Region region = difference(a.matte, b.matte, way);
            if (!region.isEmpty()) hasMoved_ = true;
            region.add(difference(a.input, b.input, way));
            return region.shared(Box(pair.before.extent()).united(Box(pair.after.extent())));
        });
    }

    Region ofStep(const FadeNode& a, const FadeNode& b, const Pair& pair, const Way& way) {
        if (a.alpha != b.alpha) return replaced(pair);
        return ofGroup(pair, [&] { return difference(a.input, b.input, way); });
    }

    // Mattes and fades make one layer of several, which rounds otherwise than one layer alone. When one of several
    // came or went, or the matte did, all that they show counts as changed.
    template <typename Compare>
    Region ofGroup(const Pair& pair, const Compare& compare) {
        const bool hadMoved = std::exchange(hasMoved_, false);
        Region region = compare();
        if (hasMoved_) return everythingOf(pair);
        hasMoved_ = hadMoved;
        return region;
    }

    using Layers = std::vector<const Picture*>;

    // From the bottom up.
    Layers layersOf(const Picture& stack, const Way& way) {
        Layers layers;
        Layers waiting{&stack};
        while (!waiting.empty() && mayGoOn(way)) {
            const Picture* const picture = waiting.back();
            waiting.pop_back();
            if (const auto* over = std::get_if<OverNode>(&picture->node().step)) {
                waiting.push_back(&over->front);
                waiting.push_back(&over->back);
            } else {
                layers.push_back(picture);
            }
        }
        return layers;
    }

    // What a layer is in the end; null when several pictures make it.
    const PictureNode* sourceOf(const Picture& layer, const Way& way) {
        const Picture* at = &layer;
        while (mayGoOn(way)) {
            const Picture* input = nullptr;
            const auto findInput = [&](const auto& step) {
                if constexpr (requires { step.input; }) input = &step.input;
            };
            std::visit(findInput, at->node().step);
            if (input == nullptr) return &at->node();
            at = input;
        }
        return nullptr;
    }

    // Whether one layer is likely to be the other, a moment later.
    bool areKin(const Picture& before, const Picture& after, const Way& way) {
        if (&before.node() == &after.node()) return true;
        const PictureNode* const a = sourceOf(before, way);
        const PictureNode* const b = sourceOf(after, way);
        if (a == nullptr || b == nullptr || a->step.index() != b->step.index()) return false;
        if (const auto* buffer = std::get_if<BufferNode>(&a->step)) {
            return buffer->buffer == std::get<BufferNode>(b->step).buffer;
        }
        return true;
    }

    // Layers are paired from both ends; what is left between came, went or became another.
    Region ofStacks(const Pair& pair, const Way& way) {
        const Layers a = layersOf(pair.before, way);
        const Layers b = layersOf(pair.after, way);
        const std::size_t shorter = std::min(a.size(), b.size());
        std::size_t below = 0;
        while (below < shorter && areKin(*a[below], *b[below], way)) ++below;
        std::size_t above = 0;
        while (below + above < shorter && areKin(*a[a.size() - 1 - above], *b[b.size() - 1 - above], way)) ++above;
        Region region;
        const auto addAll = [&](const Layers& layers) {
            for (std::size_t i = below; i < layers.size() - above; ++i) {
                region.add(Box(layers[i]->extent()));
                hasMoved_ = true;
            }
        };
        addAll(a);
        addAll(b);
        for (std::size_t i = 0; i < below; ++i) region.add(difference(*a[i], *b[i], way));
        for (std::size_t i = 1; i <= above; ++i) region.add(difference(*a[a.size() - i], *b[b.size() - i], way));
        return region;
    }

    int steps_ = 0;
    bool gaveUp_ = false;
    bool hasMoved_ = false;  // of what the group that is compared shows
};

}  // namespace

KnownDamage differenceOf(const Picture& before, const Picture& after, PixelSize canvas) {
    Comparison comparison;
    const Region region = comparison.difference(before, after, {});
    if (comparison.gaveUp()) return std::nullopt;
    DamageArea damage(DamageArea::kManyRects);
    const auto within = [](double position, int length) {
        return static_cast<int>(std::clamp(position, 0.0, static_cast<double>(length)));
    };
    for (const Box& box : region.boxes()) {
        const int left = within(std::floor(box.left - kSampleReach), canvas.width);
        const int right = within(std::ceil(box.right + kSampleReach), canvas.width);
        const int top = within(std::floor(canvas.height - box.top - kSampleReach), canvas.height);
        const int bottom = within(std::ceil(canvas.height - box.bottom + kSampleReach), canvas.height);
        damage.add({left, top, right - left, bottom - top});
    }
    const double all = static_cast<double>(canvas.width) * canvas.height;
    if (static_cast<double>(damage.area()) >= kNearlyAll * all) return std::nullopt;
    return damage;
}

}  // namespace lumivastor::imaging
