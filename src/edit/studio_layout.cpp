// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/studio_layout.h"

#include <algorithm>
#include <cmath>

#include "base/recorder_error.h"

namespace lumivastor::edit {

namespace {

// At most this share is cropped from each side, so at least a fifth of the picture stays.
constexpr double kMaxCrop = 0.4;
constexpr double kSmallestMask = 2;
constexpr double kSmallestBlock = 12;
// The webcam bubble's distance from the canvas edges, as a fraction of the canvas height.
constexpr double kBubbleMargin = 0.03;
// Below this a zoom moves nothing by even a tenth of a pixel; the picture is then left unscaled.
constexpr double kNoZoom = 1.0001;
// Settings that enlarge or move anything further than this, in canvas pixels, come from a damaged file.
constexpr double kMaxContentScale = 10'000;
constexpr double kMaxBubble = 1e6;

double limitedCrop(double share) {
    return share <= 0 ? 0 : std::min(share, kMaxCrop);
}

std::vector<Rect> maskRectangles(const std::vector<model::MaskRect>& masks, double width, double height) {
    std::vector<Rect> rects;
    for (const model::MaskRect& mask : masks) {
        const Rect wanted{mask.x * width, height - (mask.y + mask.height) * height, mask.width * width,
                          mask.height * height};
        if (!isFinite(wanted)) continue;
        const Rect rect = intersection(integral(wanted), {0, 0, width, height});
        if (rect.width >= kSmallestMask && rect.height >= kSmallestMask) rects.push_back(rect);
    }
    return rects;
}

Rect bubbleRectangle(const model::ProjectSettings& settings, PixelSize canvas) {
    const double side = settings.webcamSize * canvas.height;
    const double margin = kBubbleMargin * canvas.height;
    const bool left = settings.webcamCorner == 1 || settings.webcamCorner == 3;
    const bool bottom = settings.webcamCorner == 0 || settings.webcamCorner == 1;
    return {left ? margin : canvas.width - margin - side, bottom ? margin : canvas.height - margin - side, side, side};
}

}  // namespace

Rect cropRectangle(const model::CaptureInfo& info, const model::ProjectSettings& settings) {
    const auto width = static_cast<double>(info.pixelWidth);
    const auto height = static_cast<double>(info.pixelHeight);
    const double left = limitedCrop(settings.cropLeft) * width;
    const double right = limitedCrop(settings.cropRight) * width;
    const double top = limitedCrop(settings.cropTop) * height;
    const double bottom = limitedCrop(settings.cropBottom) * height;
    return {std::round(left), std::round(top), std::round(width - left - right), std::round(height - top - bottom)};
}

StudioLayout layOutStudio(const model::CaptureInfo& info, const model::ProjectSettings& settings, PixelSize canvas,
                          bool hasWebcam) {
    const auto width = static_cast<double>(info.pixelWidth);
    const auto height = static_cast<double>(info.pixelHeight);
    StudioLayout layout;
    layout.canvas = canvas;
    layout.cropRect = cropRectangle(info, settings);
    layout.maskRects = maskRectangles(settings.masks, width, height);
    layout.pixelBlock = std::max(std::round(height / 80), kSmallestBlock);

    const double pad = settings.padding * canvas.height;
    layout.contentScale =
        std::min((canvas.width - 2 * pad) / layout.cropRect.width, (canvas.height - 2 * pad) / layout.cropRect.height);
    const double shownWidth = layout.cropRect.width * layout.contentScale;
    const double shownHeight = layout.cropRect.height * layout.contentScale;
    layout.screenRect = {(canvas.width - shownWidth) * 0.5, (canvas.height - shownHeight) * 0.5, shownWidth,
                         shownHeight};
    if (hasWebcam && settings.webcamEnabled) layout.bubbleRect = bubbleRectangle(settings, canvas);

    if (!(std::abs(layout.contentScale) <= kMaxContentScale) || !isFinite(layout.screenRect) ||
        !(std::abs(layout.bubbleRect.width) <= kMaxBubble)) {
        throw RecorderError("Die Projekteinstellungen ergeben kein Bild.");
    }
    return layout;
}

Point canvasPoint(const StudioLayout& layout, Point source) {
    return {layout.screenRect.minX() + (source.x - layout.cropRect.minX()) * layout.contentScale,
            layout.screenRect.minY() + (layout.cropRect.maxY() - source.y) * layout.contentScale};
}

Point sourcePoint(const StudioLayout& layout, Point canvas) {
    return {layout.cropRect.minX() + (canvas.x - layout.screenRect.minX()) / layout.contentScale,
            layout.cropRect.maxY() - (canvas.y - layout.screenRect.minY()) / layout.contentScale};
}

ZoomTransform zoomTransform(const StudioLayout& layout, const ZoomEngine::Camera& camera) {
    if (camera.scale <= kNoZoom) return {};
    const Point focus = canvasPoint(layout, {camera.focusX, camera.focusY});
    const double halfWidth = layout.canvas.width / camera.scale * 0.5;
    const double halfHeight = layout.canvas.height / camera.scale * 0.5;
    const double x = std::min(std::max(focus.x, halfWidth), layout.canvas.width - halfWidth);
    const double y = std::min(std::max(focus.y, halfHeight), layout.canvas.height - halfHeight);
    return {camera.scale, -(x - halfWidth) * camera.scale, -(y - halfHeight) * camera.scale};
}

std::optional<model::MaskRect> sourceNormalized(const StudioLayout& layout, const ZoomTransform& zoom,
                                                const model::CaptureInfo& info, const Rect& canvasRect) {
    const Point a = sourcePoint(layout, zoom.undo({canvasRect.minX(), canvasRect.minY()}));
    const Point b = sourcePoint(layout, zoom.undo({canvasRect.maxX(), canvasRect.maxY()}));
    const Rect source{std::min(a.x, b.x), std::min(a.y, b.y), std::abs(b.x - a.x), std::abs(b.y - a.y)};
    const Rect shown = intersection(source, layout.cropRect);
    if (shown.isEmpty()) return std::nullopt;
    const auto width = static_cast<double>(info.pixelWidth);
    const auto height = static_cast<double>(info.pixelHeight);
    return model::MaskRect{shown.x / width, shown.y / height, shown.width / width, shown.height / height};
}

Rect canvasRectangle(const StudioLayout& layout, const ZoomTransform& zoom, const model::CaptureInfo& info,
                     const model::MaskRect& part) {
    const auto width = static_cast<double>(info.pixelWidth);
    const auto height = static_cast<double>(info.pixelHeight);
    const Point topLeft = zoom.apply(canvasPoint(layout, {part.x * width, part.y * height}));
    const Point bottomRight =
        zoom.apply(canvasPoint(layout, {(part.x + part.width) * width, (part.y + part.height) * height}));
    return {topLeft.x, bottomRight.y, bottomRight.x - topLeft.x, topLeft.y - bottomRight.y};
}

Rect visibleCanvas(const StudioLayout& layout, const ZoomTransform& zoom) {
    const Point corner = zoom.undo({0, 0});
    return {corner.x, corner.y, layout.canvas.width / zoom.scale, layout.canvas.height / zoom.scale};
}

ZoomEngine::Camera cameraShowing(const StudioLayout& layout, const Rect& canvasRect) {
    const Point focus = sourcePoint(layout, {canvasRect.midX(), canvasRect.midY()});
    return {layout.canvas.width / canvasRect.width, focus.x, focus.y};
}

}  // namespace lumivastor::edit
