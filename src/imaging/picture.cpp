// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/picture.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/precondition.h"
#include "imaging/picture_node.h"

namespace lumivastor::imaging {

namespace {

template <typename Step>
std::shared_ptr<const PictureNode> makeNode(Step step, const Rect& extent) {
    // Not const itself: the destructor of a node above it takes it to pieces.
    return std::make_shared<PictureNode>(std::move(step), extent);
}

const std::shared_ptr<const PictureNode>& emptyNode() {
    static const auto node = makeNode(EmptyNode{}, Rect{});
    return node;
}

Rect transformedExtent(const Rect& extent, const AffineTransform& transform) {
    return isInfinite(extent) ? extent : transform.applied(extent);
}

Rect croppedExtent(const Rect& extent, const Rect& rect) {
    if (isInfinite(extent)) return rect;
    return isInfinite(rect) ? extent : intersection(extent, rect);
}

Rect unionOf(const Rect& a, const Rect& b) {
    if (isInfinite(a) || isInfinite(b)) return kInfiniteRect;
    const double left = std::min(a.minX(), b.minX());
    const double bottom = std::min(a.minY(), b.minY());
    return {left, bottom, std::max(a.maxX(), b.maxX()) - left, std::max(a.maxY(), b.maxY()) - bottom};
}

// The rectangle whose edges are off by no more than the rounding of a scaled picture's size.
std::optional<MosaicRect> onWholePixels(const Rect& rect) {
    const Rect rounded{std::round(rect.x), std::round(rect.y), std::round(rect.maxX()) - std::round(rect.x),
                       std::round(rect.maxY()) - std::round(rect.y)};
    const auto differ = [](double a, double b) { return !(std::abs(a - b) < 1e-6); };
    if (differ(rounded.minX(), rect.minX()) || differ(rounded.maxX(), rect.maxX()) ||
        differ(rounded.minY(), rect.minY()) || differ(rounded.maxY(), rect.maxY())) {
        return std::nullopt;
    }
    return MosaicRect{static_cast<int>(rounded.minX()), static_cast<int>(rounded.minY()),
                      static_cast<int>(rounded.maxX()), static_cast<int>(rounded.maxY())};
}

using NodePair = std::pair<const PictureNode*, const PictureNode*>;

// Compares what is said in one step of two recipes, and lists the pictures that it is made from for later.
struct StepComparison {
    std::vector<NodePair>& waiting;

    bool operator()(const EmptyNode&, const EmptyNode&) const { return true; }
    bool operator()(const BufferNode& a, const BufferNode& b) const { return a.buffer == b.buffer; }
    bool operator()(const BackgroundNode& a, const BackgroundNode& b) const { return a.background == b.background; }
    bool operator()(const YuvNode& a, const YuvNode& b) const {
        const YuvPicture& one = a.picture;
        const YuvPicture& other = b.picture;
        return one.width == other.width && one.height == other.height && one.luma.samples == other.luma.samples &&
               one.cb.samples == other.cb.samples && one.cr.samples == other.cr.samples &&
               one.luma.stride == other.luma.stride && one.encoding == other.encoding && one.owner == other.owner;
    }
    bool operator()(const TransformNode& a, const TransformNode& b) const {
        return a.transform == b.transform && later(a.input, b.input);
    }
    bool operator()(const CropNode& a, const CropNode& b) const { return a.rect == b.rect && later(a.input, b.input); }
    bool operator()(const OverNode& a, const OverNode& b) const {
        return later(a.front, b.front) && later(a.back, b.back);
    }
    bool operator()(const ClampNode& a, const ClampNode& b) const { return later(a.input, b.input); }
    bool operator()(const MosaicNode& a, const MosaicNode& b) const {
        return a.plan == b.plan && later(a.input, b.input);
    }
    bool operator()(const MatteNode& a, const MatteNode& b) const {
        return later(a.input, b.input) && later(a.matte, b.matte);
    }
    bool operator()(const FadeNode& a, const FadeNode& b) const {
        return a.alpha == b.alpha && later(a.input, b.input);
    }
    template <typename A, typename B>
    bool operator()(const A&, const B&) const {
        return false;
    }

    bool later(const Picture& a, const Picture& b) const {
        if (&a.node() != &b.node()) waiting.emplace_back(&a.node(), &b.node());
        return true;
    }
};

}  // namespace

PictureNode::~PictureNode() {
    // Nodes without other owners are queued here and released in turn.
    std::shared_ptr<PictureNode> line;
    giveUpInputs(line);
    while (line) {
        const std::shared_ptr<PictureNode> node = std::exchange(line, std::move(line->behind_));
        node->giveUpInputs(line);
    }
}

void PictureNode::giveUpInputs(std::shared_ptr<PictureNode>& line) {
    const auto giveUp = [&line](Picture& input) {
        std::shared_ptr<const PictureNode> node = std::move(input.node_);
        if (node.use_count() != 1) return;
        auto alone = std::const_pointer_cast<PictureNode>(std::move(node));
        alone->behind_ = std::exchange(line, alone);
    };
    const auto give = [&](auto& made) {
        using Made = std::decay_t<decltype(made)>;
        if constexpr (std::is_same_v<Made, OverNode>) {
            giveUp(made.front);
            giveUp(made.back);
        } else if constexpr (std::is_same_v<Made, MatteNode>) {
            giveUp(made.input);
            giveUp(made.matte);
        } else if constexpr (requires { made.input; }) {
            giveUp(made.input);
        }
    };
    std::visit(give, step);
}

Picture::Picture() : node_(emptyNode()) {}

Picture::Picture(std::shared_ptr<const PictureNode> node) : node_(std::move(node)) {}

Picture::Picture(std::shared_ptr<const BgraPremultipliedBuffer> buffer) : node_(emptyNode()) {
    if (buffer == nullptr || buffer->isEmpty()) return;
    const Rect extent{0, 0, static_cast<double>(buffer->width()), static_cast<double>(buffer->height())};
    node_ = makeNode(BufferNode{std::move(buffer)}, extent);
}

Picture::Picture(YuvPicture picture) : node_(emptyNode()) {
    if (picture.width <= 0 || picture.height <= 0) return;
    const Rect extent{0, 0, static_cast<double>(picture.width), static_cast<double>(picture.height)};
    node_ = makeNode(YuvNode{std::move(picture)}, extent);
}

Picture::Picture(std::shared_ptr<const StudioBackground> background) : node_(emptyNode()) {
    if (background == nullptr || background->isEmpty()) return;
    const Rect extent{0, 0, static_cast<double>(background->width), static_cast<double>(background->height)};
    node_ = makeNode(BackgroundNode{std::move(background)}, extent);
}

const Rect& Picture::extent() const {
    return node_->extent;
}

Picture Picture::transformed(const AffineTransform& transform) const {
    precondition(std::isfinite(transform.scaleX) && std::isfinite(transform.scaleY) &&
                     std::isfinite(transform.translateX) && std::isfinite(transform.translateY) &&
                     transform.scaleX >= 0 && transform.scaleY >= 0,
                 "pictures are scaled by finite amounts and never mirrored");
    if (isEmpty() || transform.isIdentity()) return *this;
    if (transform.scaleX == 0 || transform.scaleY == 0) return {};
    if (const auto* inner = std::get_if<TransformNode>(&node_->step)) {
        return inner->input.transformed(inner->transform.then(transform));
    }
    return Picture(makeNode(TransformNode{*this, transform}, transformedExtent(extent(), transform)));
}

Picture Picture::cropped(const Rect& rect) const {
    const Rect extent = croppedExtent(node_->extent, rect);
    if (isEmpty() || extent.isEmpty()) return {};
    return Picture(makeNode(CropNode{*this, rect}, extent));
}

Picture Picture::over(const Picture& background) const {
    if (isEmpty()) return background;
    if (background.isEmpty()) return *this;
    return Picture(makeNode(OverNode{*this, background}, unionOf(extent(), background.extent())));
}

Picture Picture::clampedToExtent() const {
    if (isEmpty() || isInfinite(extent())) return *this;
    return Picture(makeNode(ClampNode{*this}, kInfiniteRect));
}

Picture Picture::pixellated(const std::vector<Rect>& areas, int side) const {
    precondition(side >= 1, "the squares of a pixellated picture have a size");
    if (isEmpty()) return {};
    const std::optional<MosaicRect> bounds = onWholePixels(extent());
    precondition(bounds.has_value(), "pixellated pictures end at whole pixels");
    MosaicPlan plan{*bounds, {}, side};
    for (const Rect& area : areas) {
        const std::optional<MosaicRect> pixels = onWholePixels(intersection(area, extent()));
        precondition(pixels.has_value(), "pixellated areas lie on whole pixels");
        if (!pixels->isEmpty()) plan.areas.push_back(*pixels);
    }
    if (plan.areas.empty()) return *this;
    return Picture(makeNode(MosaicNode{*this, std::move(plan)}, extent()));
}

Picture Picture::blendedWithMatte(const Picture& matte) const {
    const Rect extent = croppedExtent(node_->extent, matte.extent());
    if (isEmpty() || matte.isEmpty() || extent.isEmpty()) return {};
    return Picture(makeNode(MatteNode{*this, matte}, extent));
}

Picture Picture::faded(double alpha) const {
    const double limited = std::clamp(alpha, 0.0, 1.0);
    if (isEmpty() || !(limited > 0)) return {};
    if (limited == 1) return *this;
    return Picture(makeNode(FadeNode{*this, limited}, extent()));
}

bool areEqual(const Picture& a, const Picture& b, std::size_t& comparisons) {
    std::vector<NodePair> waiting;
    std::set<NodePair> seen;
    const StepComparison compare{waiting};
    for (compare.later(a, b); !waiting.empty();) {
        const NodePair pair = waiting.back();
        waiting.pop_back();
        if (!seen.insert(pair).second) continue;
        ++comparisons;
        if (pair.first->extent != pair.second->extent) return false;
        if (!std::visit(compare, pair.first->step, pair.second->step)) return false;
    }
    return true;
}

bool Picture::operator==(const Picture& other) const {
    std::size_t comparisons = 0;
    return areEqual(*this, other, comparisons);
}

}  // namespace lumivastor::imaging
