#include "imaging/picture.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/precondition.h"
#include "imaging/picture_node.h"

namespace lumivastor {

namespace {

template <typename Step>
std::shared_ptr<const PictureNode> makeNode(Step step, const Rect& extent) {
    return std::make_shared<const PictureNode>(PictureNode{std::move(step), extent});
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

// The extent in whole squares of the grid.
Rect grownToSquares(const Rect& extent, double scale, Point centre) {
    if (isInfinite(extent)) return extent;
    const auto down = [&](double value, double origin) {
        return std::floor((value - origin) / scale) * scale + origin;
    };
    const auto up = [&](double value, double origin) { return std::ceil((value - origin) / scale) * scale + origin; };
    const double left = down(extent.minX(), centre.x);
    const double bottom = down(extent.minY(), centre.y);
    return {left, bottom, up(extent.maxX(), centre.x) - left, up(extent.maxY(), centre.y) - bottom};
}

}  // namespace

bool YuvNode::operator==(const YuvNode& other) const {
    return picture.width == other.picture.width && picture.height == other.picture.height &&
           picture.luma.samples == other.picture.luma.samples &&
           picture.blueDifference.samples == other.picture.blueDifference.samples &&
           picture.redDifference.samples == other.picture.redDifference.samples &&
           picture.luma.stride == other.picture.luma.stride && picture.encoding == other.picture.encoding &&
           picture.owner == other.picture.owner;
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

Picture Picture::pixellated(double scale, Point centre) const {
    precondition(std::isfinite(scale) && scale > 0, "the squares of a pixellated picture have a size");
    if (isEmpty()) return {};
    return Picture(makeNode(PixellateNode{*this, scale, centre}, grownToSquares(extent(), scale, centre)));
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

bool Picture::operator==(const Picture& other) const {
    return node_ == other.node_ || (node_->extent == other.node_->extent && node_->step == other.node_->step);
}

}  // namespace lumivastor
