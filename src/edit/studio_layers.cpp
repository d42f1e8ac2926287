// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/studio_layers.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "edit/zoom_affine.h"

namespace lumivastor::edit {

namespace {

using imaging::AffineTransform;

// Around what is seen, in pixels of a layer that is magnified: its kernel reaches 2.
constexpr double kMargin = 4;

AffineTransform inverse(const AffineTransform& transform) {
    return {1 / transform.scaleX, 1 / transform.scaleY, -transform.translateX / transform.scaleX,
            -transform.translateY / transform.scaleY};
}

Rect extent(PixelSize size) {
    return {0, 0, static_cast<double>(size.width), static_cast<double>(size.height)};
}

// The part of a view that holds a rectangle of its own pixels; at least one pixel.
LayerView narrowed(const LayerView& view, const Rect& layerRect) {
    const Rect whole = extent(view.size);
    Rect part = intersection(integral(layerRect), whole);
    if (part.isEmpty()) part = {0, 0, 1, 1};
    return {{static_cast<int>(part.width), static_cast<int>(part.height)},
            view.fromCanvas.then(AffineTransform::translation(-part.x, -part.y))};
}

LayerView viewOf(const StudioLayout& layout, PixelSize frame, const ZoomTransform& zoom) {
    const AffineTransform toFrame =
        transformOf(zoom).then(AffineTransform::scaling(static_cast<double>(frame.width) / layout.canvas.width,
                                                        static_cast<double>(frame.height) / layout.canvas.height));
    if (std::max(toFrame.scaleX, toFrame.scaleY) <= 1) return {frame, toFrame};
    return narrowed({layout.canvas, {}}, visibleCanvas(layout, zoom).grownBy(kMargin));
}

// The view's pixels for one of the canvas.
double scaleOf(const LayerView& view) {
    return std::sqrt(view.fromCanvas.scaleX * view.fromCanvas.scaleY);
}

// What a layer draws outside of a rectangle: a Gaussian of half of `blur`, which ends at four deviations.
double reachOf(const imaging::ShadowStyle& style) {
    return 2 * style.blur + std::abs(style.offsetX) + std::abs(style.offsetY) + 1;
}

imaging::ShadowStyle scaled(const imaging::ShadowStyle& style, double scale) {
    return {style.alpha, style.blur * scale, style.offsetX * scale, style.offsetY * scale};
}

template <typename Source>
imaging::Picture onCanvas(const std::shared_ptr<Source>& source, const LayerView& view) {
    return imaging::Picture(source).transformed(inverse(view.fromCanvas));
}

}  // namespace

LayerViews::LayerViews(PixelSize canvas) : background{canvas, {}}, screen{canvas, {}}, bubble{canvas, {}} {}

LayerViews::LayerViews(const StudioLayout& layout, PixelSize frame, const ZoomTransform& zoom)
    : background(viewOf(layout, frame, {})),
      screen(viewOf(layout, frame, zoom)),
      bubble(narrowed(background,
                      background.fromCanvas.applied(layout.bubbleRect.grownBy(reachOf(imaging::kBubbleShadow))))) {}

LayerViews LayerViews::ofMoving(const StudioLayout& layout, PixelSize frame, const ZoomTransform& zoom) {
    LayerViews views(layout, frame, {});
    if (!zoom.isIdentity()) views.screen = {layout.canvas, {}};
    return views;
}

StudioLayers makeStudioLayers(const StudioLayout& layout, const model::ProjectSettings& settings,
                              const LayerViews& views, imaging::PreparedLayers& cache,
                              imaging::PreparedLayers& screenCache) {
    StudioLayers layers;
    const LayerView& ground = views.background;
    const imaging::RgbColour tone{settings.backgroundRed, settings.backgroundGreen, settings.backgroundBlue};
    layers.background = onCanvas(cache.background(ground.size.width, ground.size.height, tone), ground);
    layers.ringImage = imaging::Picture(cache.ring());
    layers.ringSize = layers.ringImage.extent().width;
    if (!layout.screenRect.isEmpty()) {
        const auto [width, height] = views.screen.size;
        const Rect screen = views.screen.fromCanvas.applied(layout.screenRect);
        const double scale = scaleOf(views.screen);
        const double radius = scale * std::clamp(settings.cornerRadius, 0.0,
                                                 std::min(layout.screenRect.width, layout.screenRect.height) / 2);
        layers.maskImage = onCanvas(screenCache.roundedMatte(width, height, screen, radius), views.screen);
        layers.shadowImage =
            onCanvas(screenCache.roundedShadow(width, height, screen, radius, scaled(imaging::kScreenShadow, scale)),
                     views.screen);
    }
    if (!layout.bubbleRect.isEmpty()) {
        const auto [width, height] = views.bubble.size;
        const Rect bubble = views.bubble.fromCanvas.applied(layout.bubbleRect);
        const double scale = scaleOf(views.bubble);
        layers.bubbleMask = onCanvas(cache.ellipseMatte(width, height, bubble), views.bubble);
        layers.bubbleBorder = onCanvas(cache.bubbleBorder(width, height, bubble, scaled(imaging::kBubbleShadow, scale),
                                                          imaging::kLeastBubbleRim * scale),
                                       views.bubble);
    }
    return layers;
}

}  // namespace lumivastor::edit
