// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "base/geometry.h"
#include "base/pixel_size.h"
#include "edit/zoom_engine.h"
#include "model/capture_info.h"
#include "model/project_settings.h"

// The layout of a studio frame. Source pixels have their origin at the top-left like the pointer's coordinates; canvas
// pixels have it at the bottom-left like everything that is painted.

namespace lumivastor::edit {

struct StudioLayout {
    PixelSize canvas;
    /// Canvas pixels per source pixel, before any zoom.
    double contentScale = 1;
    /// Side of a mask's blocks in source pixels.
    double pixelBlock = 12;
    /// The visible part of the source: source pixels, origin top-left.
    Rect cropRect;
    /// The place of that part: canvas pixels, origin bottom-left.
    Rect screenRect;
    /// Pixelated areas, clipped to the picture: source pixels, origin bottom-left.
    std::vector<Rect> maskRects;
    /// The webcam bubble's square: canvas pixels, origin bottom-left; empty without a bubble.
    Rect bubbleRect;

    bool operator==(const StudioLayout&) const = default;
};

/// Lays out a frame. `hasWebcam` tells whether the recording has a webcam movie. Throws `RecorderError` when the
/// settings, from a damaged file, leave no finite layout.
StudioLayout layOutStudio(const model::CaptureInfo& info, const model::ProjectSettings& settings, PixelSize canvas,
                          bool hasWebcam);

/// The visible part of the source alone: cropping takes at most 0.4 of its direction from each side.
Rect cropRectangle(const model::CaptureInfo& info, const model::ProjectSettings& settings);

/// A magnification followed by a shift, both in canvas pixels, origin bottom-left.
struct ZoomTransform {
    double scale = 1;
    double dx = 0, dy = 0;

    Point apply(Point point) const { return {point.x * scale + dx, point.y * scale + dy}; }
    Point undo(Point point) const { return {(point.x - dx) / scale, (point.y - dy) / scale}; }
    bool isIdentity() const { return scale == 1 && dx == 0 && dy == 0; }

    bool operator==(const ZoomTransform&) const = default;
};

/// Where a source point (pixels, origin top-left) lies on the canvas before any zoom.
Point canvasPoint(const StudioLayout& layout, Point sourcePoint);

/// The inverse of `canvasPoint`.
Point sourcePoint(const StudioLayout& layout, Point canvasPoint);

/// What the camera does to the canvas. The zoomed view always stays inside the canvas, whatever the focus; a scale of
/// up to 1.0001 is no zoom.
ZoomTransform zoomTransform(const StudioLayout& layout, const ZoomEngine::Camera& camera);

/// The part of the source under a rectangle of the canvas while the camera does `zoom`, clipped to what is shown, as
/// fractions of the source picture (origin top-left). None when nothing of the source lies there.
std::optional<model::MaskRect> sourceNormalized(const StudioLayout& layout, const ZoomTransform& zoom,
                                                const model::CaptureInfo& info, const Rect& canvasRect);

/// The inverse: where a part of the source lies on the canvas while the camera does `zoom`. It may reach beyond what is
/// shown.
Rect canvasRectangle(const StudioLayout& layout, const ZoomTransform& zoom, const model::CaptureInfo& info,
                     const model::MaskRect& part);

/// The part of the unzoomed canvas that fills the frame while the camera does `zoom`.
Rect visibleCanvas(const StudioLayout& layout, const ZoomTransform& zoom);

/// The camera that shows this part of the unzoomed canvas, which has the canvas's shape.
ZoomEngine::Camera cameraShowing(const StudioLayout& layout, const Rect& canvasRect);

}  // namespace lumivastor::edit
