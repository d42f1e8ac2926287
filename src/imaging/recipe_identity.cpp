// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/recipe_identity.h"

#include <cstddef>
#include <cstdint>
#include <variant>

#include "imaging/picture_node.h"
#include "imaging/studio_background.h"

namespace lumivastor::imaging {

namespace {

// Film frames have some thirty steps.
constexpr int kMostRecipeSteps = 5000;
constexpr int kDeepestRecipe = 200;
// A recording has a dozen cursor shapes and layers.
constexpr std::size_t kMaximumBuffers = 500;

}  // namespace

// Each step begins with its kind, so that no recipe's bytes are those of another.
class RecipeIdentity::Walk {
  public:
    Walk(RecipeIdentity& identity, ContentHasher& hasher) : identity_(identity), hasher_(hasher) {}

    bool add(const Picture& picture) {
        if (++steps_ > kMostRecipeSteps || depth_ >= kDeepestRecipe) return false;
        ++depth_;
        const auto& step = picture.node().step;
        hasher_.addNumber(static_cast<std::uint8_t>(step.index()));
        const bool isKnown = std::visit([this](const auto& each) { return addStep(each); }, step);
        --depth_;
        return isKnown;
    }

  private:
    bool addStep(const EmptyNode&) { return true; }
    bool addStep(const BufferNode& node) {
        hasher_.addHash(identity_.hashOf(node.buffer));
        return true;
    }
    bool addStep(const BackgroundNode& node) {
        const StudioBackground& background = *node.background;
        hasher_.addNumber(background.width);
        hasher_.addNumber(background.height);
        for (const double each : {background.tone.red, background.tone.green, background.tone.blue}) {
            hasher_.addNumber(each);
        }
        return true;
    }
    bool addStep(const YuvNode& node) {
        const YuvPicture& picture = node.picture;
        hasher_.addNumber(picture.source);
        hasher_.addNumber(picture.width);
        hasher_.addNumber(picture.height);
        hasher_.addNumber(picture.encoding.matrix);
        hasher_.addNumber(picture.encoding.range);
        return picture.source != 0;
    }
    bool addStep(const TransformNode& node) {
        const AffineTransform& by = node.transform;
        for (const double each : {by.scaleX, by.scaleY, by.translateX, by.translateY}) hasher_.addNumber(each);
        return add(node.input);
    }
    bool addStep(const CropNode& node) {
        for (const double each : {node.rect.x, node.rect.y, node.rect.width, node.rect.height}) {
            hasher_.addNumber(each);
        }
        return add(node.input);
    }
    bool addStep(const OverNode& node) { return add(node.front) && add(node.back); }
    bool addStep(const ClampNode& node) { return add(node.input); }
    bool addStep(const MosaicNode& node) {
        hasher_.addNumber(node.plan.side);
        addRect(node.plan.bounds);
        hasher_.addNumber(node.plan.areas.size());
        for (const MosaicRect& area : node.plan.areas) addRect(area);
        return add(node.input);
    }
    bool addStep(const MatteNode& node) { return add(node.input) && add(node.matte); }
    bool addStep(const FadeNode& node) {
        hasher_.addNumber(node.alpha);
        return add(node.input);
    }

    void addRect(const MosaicRect& rect) {
        for (const int each : {rect.left, rect.bottom, rect.right, rect.top}) hasher_.addNumber(each);
    }

    RecipeIdentity& identity_;
    ContentHasher& hasher_;
    int steps_ = 0;
    int depth_ = 0;
};

RecipeIdentity::RecipeIdentity() = default;
RecipeIdentity::~RecipeIdentity() = default;

bool RecipeIdentity::add(const Picture& recipe, ContentHasher& hasher) {
    return Walk(*this, hasher).add(recipe);
}

ContentHash RecipeIdentity::hashOf(const std::shared_ptr<const BgraPremultipliedBuffer>& buffer) {
    if (const auto known = buffers_.find(buffer); known != buffers_.end()) return known->second;
    if (buffers_.size() >= kMaximumBuffers) buffers_.clear();
    contents_.restart();
    contents_.addNumber(buffer->width());
    contents_.addNumber(buffer->height());
    for (int y = 0; y < buffer->height(); ++y)
        contents_.add(buffer->row(y), static_cast<std::size_t>(buffer->width()) * 4);
    return buffers_.emplace(buffer, contents_.value()).first->second;
}

}  // namespace lumivastor::imaging
