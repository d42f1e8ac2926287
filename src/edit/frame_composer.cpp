// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/frame_composer.h"

#include <algorithm>
#include <cmath>

#include "edit/quantised.h"
#include "edit/zoom_affine.h"
#include "imaging/affine_transform.h"

namespace lumivastor::edit {

namespace {

constexpr double kRingSeconds = 0.4;
// How far outside of the crop the pointer's tip may be for the cursor to be drawn, in source pixels.
constexpr double kCursorMargin = 2;
// A cursor or camera picture enlarged beyond this comes from a damaged document.
constexpr double kMaxEnlargement = 1000;

// What of the camera and of the small layers above the screen is rounded; the screen follows its camera, and the
// bubble does not move.
struct Rounding {
    bool isExact = false;

    double length(double pixels) const { return isExact ? pixels : quantised(pixels); }
    Point place(Point point, const ZoomTransform& zoom) const {
        return isExact ? point : quantisedPlace(point, zoom.scale);
    }
    double opacity(double opacity) const { return isExact ? opacity : quantisedOpacity(opacity); }
    ZoomTransform camera(const ZoomTransform& zoom, PixelSize canvas) const {
        return isExact ? zoom : quantised(zoom, canvas);
    }
};

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

imaging::Picture withRings(imaging::Picture picture, const FrameIngredients& in, const ZoomTransform& zoom, double t,
                           Rounding rounding) {
    const auto& clicks = in.state.clicks;
    auto click = std::lower_bound(clicks.begin(), clicks.end(), t - 2 * kRingSeconds,
                                  [](const model::PointerSample& each, double time) { return each.t < time; });
    for (; click != clicks.end() && click->t <= t; ++click) {
        const auto look = ringLook(t - click->t);
        if (!look) continue;
        const Point centre = zoom.apply(rounding.place(canvasPoint(in.state.layout, {click->px, click->py}), zoom));
        const double diameter = rounding.length(look->diameter * in.state.layout.contentScale * zoom.scale);
        const double scale = diameter / in.layers.ringSize;
        picture = in.layers.ringImage.transformed({scale, scale, centre.x - diameter / 2, centre.y - diameter / 2})
                      .faded(rounding.opacity(look->opacity))
                      .over(picture);
    }
    return picture;
}

imaging::Picture withCursor(const imaging::Picture& picture, const FrameIngredients& in, const ZoomTransform& zoom,
                            double t, Rounding rounding) {
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
    const Point tip = zoom.apply(rounding.place(canvasPoint(layout, *position), zoom));
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
    // The camera's picture is wider than the bubble. Cut off out of the kernels' reach, a new one changes no more of
    // the frame than it shows.
    const Rect around = integral(bubble.grownBy(8 + 4 * z));
    const imaging::Picture face =
        webcam.transformed({z, z, bubble.midX() - camera.width * z * 0.5, bubble.midY() - camera.height * z * 0.5})
            .cropped(around);
    return in.layers.bubbleBorder.over(face.blendedWithMatte(in.layers.bubbleMask).over(picture));
}

imaging::Picture compose(const FrameIngredients& in, const imaging::Picture& source,
                         const std::optional<imaging::Picture>& webcam, double t, Rounding rounding) {
    const StudioLayout& layout = in.state.layout;
    const ZoomTransform zoom = rounding.camera(zoomTransform(layout, in.state.zoomEngine->camera(t)), layout.canvas);
    const imaging::AffineTransform zoomed = transformOf(zoom);
    imaging::Picture base = in.layers.shadowImage.transformed(zoomed).over(in.layers.background);
    if (layout.screenRect.isEmpty()) return base;
    imaging::Picture picture = screenLayer(in, source, zoomed).over(base);
    picture = withRings(picture, in, zoom, t, rounding);
    picture = withCursor(picture, in, zoom, t, rounding);
    return webcam ? withBubble(picture, in, *webcam) : picture;
}

}  // namespace

std::optional<RingLook> ringLook(double age) {
    if (age < 0 || age >= kRingSeconds) return std::nullopt;
    const double u = age / kRingSeconds;
    return RingLook{2 * (u * 90 + 30), (1 - u) * 0.85};
}

ZoomTransform frameZoom(const EditState& state, double t) {
    return Rounding().camera(zoomTransform(state.layout, state.zoomEngine->camera(t)), state.layout.canvas);
}

imaging::Picture composeFrame(const FrameIngredients& in, const imaging::Picture& source,
                              const std::optional<imaging::Picture>& webcam, double t) {
    return compose(in, source, webcam, t, {});
}

imaging::Picture composeExactFrame(const FrameIngredients& in, const imaging::Picture& source,
                                   const std::optional<imaging::Picture>& webcam, double t) {
    return compose(in, source, webcam, t, {.isExact = true});
}

}  // namespace lumivastor::edit
