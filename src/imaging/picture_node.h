#pragma once

#include <memory>
#include <variant>

#include "imaging/picture.h"

// What a recipe consists of, for painters.

namespace lumivastor {

struct EmptyNode {
    bool operator==(const EmptyNode&) const = default;
};
struct BufferNode {
    std::shared_ptr<const BgraPremultipliedBuffer> buffer;
    bool operator==(const BufferNode&) const = default;
};
struct YuvNode {
    YuvPicture picture;
    bool operator==(const YuvNode& other) const;
};
struct TransformNode {
    Picture input;
    AffineTransform transform;
    bool operator==(const TransformNode&) const = default;
};
struct CropNode {
    Picture input;
    Rect rect;
    bool operator==(const CropNode&) const = default;
};
struct OverNode {
    Picture front;
    Picture back;
    bool operator==(const OverNode&) const = default;
};
struct ClampNode {
    Picture input;
    bool operator==(const ClampNode&) const = default;
};
struct PixellateNode {
    Picture input;
    double scale;
    Point centre;
    bool operator==(const PixellateNode&) const = default;
};
struct MatteNode {
    Picture input;
    Picture matte;
    bool operator==(const MatteNode&) const = default;
};
struct FadeNode {
    Picture input;
    double alpha;
    bool operator==(const FadeNode&) const = default;
};

struct PictureNode {
    std::variant<EmptyNode, BufferNode, YuvNode, TransformNode, CropNode, OverNode, ClampNode, PixellateNode, MatteNode,
                 FadeNode>
        step;
    Rect extent;
};

}  // namespace lumivastor
