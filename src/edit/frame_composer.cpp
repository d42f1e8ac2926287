// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/frame_composer.h"

#include <algorithm>
#include <cmath>

#include "imaging/affine_transform.h"

namespace lumivastor::edit {

namespace {

constexpr double kRingSeconds = 0.4;
// How far outside of the crop the pointer's tip may be for the cursor to be drawn, in source pixels.
constexpr double kCursorMargin = 2;
// A cursor or camera picture enlarged beyond this comes from a damaged document.
constexpr double kMaxEnlargement = 1000;

imaging::AffineTransform transformOf(const ZoomTransform& zoom) {
    return {zoom.scale, zoom.scale, zoom.dx, zoom.dy};
}

// The decoded picture at the size that all coordinates of the recording refer to.
imaging::Picture atRecordedSize(const imaging::Picture& source, const model::CaptureInfo& info) {
    const Rect extent = source.extent();
    const auto width = static_cast<double>(info.pixelWidth);
    const auto height = static_cast<double>(info.pixelHeight);
    if (extent.isEmpty() || (extent.width == width && extent.height == height)) return source;
    return source.transformed(imaging::AffineTransform::scaling(width / extent.width, height / extent.height));
}

// The screen picture, cropped, put in its place and zoomed, in its rounded matte.
imaging::Picture screenLayer(const FrameIngredients& in, const imaging::Picture& source,
                             const imaging::AffineTransform& zoom) {
    const StudioLayout& layout = in.state.layout;
    const Rect& crop = layout.cropRect;
    const auto height = static_cast<double>(in.recording.info.pixelHeight);
    const Rect shown{crop.minX(), height - crop.maxY(), crop.width, crop.height};
    const imaging::AffineTransform placement =
        imaging::AffineTransform::translation(-shown.x, -shown.y)
            .then(imaging::AffineTransform::scaling(layout.contentScale))
            .then(imaging::AffineTransform::translation(layout.screenRect.x, layout.screenRect.y));
    return atRecordedSize(source, in.recording.info)
        .pixellated(layout.maskRects, static_cast<int>(layout.pixelBlock))
        .cropped(shown)
        .transformed(placement.then(zoom))
        // The matte's edge lies on the crop's; only one of them may soften it.
        .clampedToExtent()
        .blendedWithMatte(in.layers.maskImage.transformed(zoom));
}

imaging::Picture withRings(imaging::Picture picture, const FrameIngredients& in, const ZoomTransform& zoom, double t) {
    const auto& clicks = in.state.clicks;
    auto click = std::lower_bound(clicks.begin(), clicks.end(), t - 2 * kRingSeconds,
                                  [](const model::PointerSample& each, double time) { return each.t < time; });
    for (; click != clicks.end() && click->t <= t; ++click) {
        const auto look = ringLook(t - click->t);
        if (!look) continue;
        const Point centre = zoom.apply(canvasPoint(in.state.layout, {click->px, click->py}));
        const double diameter = look->diameter * in.state.layout.contentScale * zoom.scale;
        const double scale = diameter / in.layers.ringSize;
        picture = in.layers.ringImage.transformed({scale, scale, centre.x - diameter / 2, centre.y - diameter / 2})
                      .faded(look->opacity)
                      .over(picture);
    }
    return picture;
}

imaging::Picture withCursor(const imaging::Picture& picture, const FrameIngredients& in, const ZoomTransform& zoom,
                            double t) {
    const StudioLayout& layout = in.state.layout;
    const auto position = in.state.cursorEngine->position(t);
    if (!position || !layout.cropRect.grownBy(kCursorMargin).containsOrTouches(*position)) return picture;
    const std::string* const id = cursorShapeAt(in.recording.track.cursorChanges, t);
    if (id == nullptr) return picture;
    const auto asset = in.cursorAssets.find(*id);
    if (asset == in.cursorAssets.end()) return picture;

    const model::CursorImage& shape = asset->second.image;
    // Canvas pixels per point of the cursor.
    const double k =
        layout.contentScale * in.state.settings.cursorScale * zoom.scale * in.recording.info.pointPixelScale;
    const double scale = shape.width * k / asset->second.picture->width();
    const Point tip = zoom.apply(canvasPoint(layout, *position));
    const double x = tip.x - k * shape.hotspotX;
    const double y = tip.y - k * shape.height + k * shape.hotspotY;
    const bool drawable = scale > 0 && scale <= kMaxEnlargement && std::abs(x) < 1e6 && std::abs(y) < 1e6;
    if (!drawable) return picture;
    return imaging::Picture(asset->second.picture).transformed({scale, scale, x, y}).over(picture);
}

imaging::Picture withBubble(const imaging::Picture& picture, const FrameIngredients& in,
                            const imaging::Picture& webcam) {
    const Rect& bubble = in.state.layout.bubbleRect;
    const Rect camera = webcam.extent();
    if (bubble.width <= 1 || camera.isEmpty() || in.layers.bubbleMask.isEmpty()) return picture;
    const double cover = std::max(bubble.width / camera.width, bubble.height / camera.height);
    const double z = std::min(std::max(in.state.settings.webcamZoom, 1.0), kMaxEnlargement) * cover;
    const imaging::Picture face =
        webcam.transformed({z, z, bubble.midX() - camera.width * z * 0.5, bubble.midY() - camera.height * z * 0.5});
    return in.layers.bubbleBorder.over(face.blendedWithMatte(in.layers.bubbleMask).over(picture));
}

}  // namespace

std::optional<RingLook> ringLook(double age) {
    if (age < 0 || age >= kRingSeconds) return std::nullopt;
    const double u = age / kRingSeconds;
    return RingLook{2 * (u * 90 + 30), (1 - u) * 0.85};
}

imaging::Picture composeFrame(const FrameIngredients& in, const imaging::Picture& source,
                              const std::optional<imaging::Picture>& webcam, double t) {
    const ZoomTransform zoom = zoomTransform(in.state.layout, in.state.zoomEngine->camera(t));
    const imaging::AffineTransform zoomed = transformOf(zoom);
    imaging::Picture base = in.layers.shadowImage.transformed(zoomed).over(in.layers.background);
    if (in.state.layout.screenRect.isEmpty()) return base;
    imaging::Picture picture = screenLayer(in, source, zoomed).over(base);
    picture = withRings(picture, in, zoom, t);
    picture = withCursor(picture, in, zoom, t);
    return webcam ? withBubble(picture, in, *webcam) : picture;
}

}  // namespace lumivastor::edit
