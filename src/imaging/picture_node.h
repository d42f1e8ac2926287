// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <variant>

#include "imaging/mosaic_plan.h"
#include "imaging/picture.h"
#include "imaging/studio_background.h"

// The nodes of a recipe, for painters.

namespace lumivastor::imaging {

struct EmptyNode {};
struct BufferNode {
    std::shared_ptr<const BgraPremultipliedBuffer> buffer;
};
struct BackgroundNode {
    std::shared_ptr<const StudioBackground> background;

    std::shared_ptr<const BgraPremultipliedBuffer> pixels() const { return {background, &background->pixels()}; }
};
struct YuvNode {
    YuvPicture picture;
};
struct TransformNode {
    Picture input;
    AffineTransform transform;
};
struct CropNode {
    Picture input;
    Rect rect;
};
struct OverNode {
    Picture front;
    Picture back;
};
struct ClampNode {
    Picture input;
};
struct MosaicNode {
    Picture input;
    MosaicPlan plan;
};
struct MatteNode {
    Picture input;
    Picture matte;
};
struct FadeNode {
    Picture input;
    double alpha;
};

struct PictureNode {
    using Step = std::variant<EmptyNode, BufferNode, BackgroundNode, YuvNode, TransformNode, CropNode, OverNode,
                              ClampNode, MosaicNode, MatteNode, FadeNode>;

    PictureNode(Step step_, const Rect& extent_) : step(std::move(step_)), extent(extent_) {}
    /// Releases its parts without recursion: recipes may be deeper than the stack.
    ~PictureNode();
    PictureNode(const PictureNode&) = delete;
    PictureNode& operator=(const PictureNode&) = delete;

    Step step;
    Rect extent;

  private:
    void giveUpInputs(std::shared_ptr<PictureNode>& line);

    std::shared_ptr<PictureNode> behind_;  // while its release waits for that of others
};

/// The result of `Picture::operator==`; counts the pairs of steps that it compares.
bool areEqual(const Picture& a, const Picture& b, std::size_t& comparisons);

}  // namespace lumivastor::imaging
