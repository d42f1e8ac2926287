// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "base/pixel_size.h"
#include "edit/studio_layout.h"
#include "imaging/affine_transform.h"
#include "imaging/painting/prepared_layers.h"
#include "imaging/picture.h"
#include "model/project_settings.h"

namespace lumivastor::edit {

/// Which part of the canvas a layer shows, and how finely.
struct LayerView {
    /// Of the layer, in its own pixels.
    PixelSize size;
    /// Canvas pixels to the layer's, both with the origin at the bottom-left. Lengths have the same scale in both
    /// directions, but for less than half a pixel of the layer.
    imaging::AffineTransform fromCanvas;

    bool operator==(const LayerView&) const = default;
};

/// The views of one frame's layers.
struct LayerViews {
    LayerView background;
    /// Of the screen's matte and its shadow, which go with the camera.
    LayerView screen;
    LayerView bubble;

    /// The whole canvas in its own pixels: layers for every frame, at whatever size and under whatever camera.
    explicit LayerViews(PixelSize canvas);
    /// Only what a frame of this size shows while the camera does `zoom`, and no finer than that: pixel for pixel the
    /// frame's, or the canvas's where those are fewer, so that no edge is sharper than in the film.
    LayerViews(const StudioLayout& layout, PixelSize frame, const ZoomTransform& zoom);
    /// For frames of this size that follow each other while the camera moves: a view never depends on where it is, only
    /// on whether it shows the whole canvas. What goes with it then has all of the canvas's pixels.
    static LayerViews ofMoving(const StudioLayout& layout, PixelSize frame, const ZoomTransform& zoom);
};

/// The pictures of a studio frame that depend on the settings alone, in canvas pixels, except the ring. A picture is
/// empty if there is nothing to show: no screen, no bubble.
struct StudioLayers {
    imaging::Picture background;
    /// Rounded matte of the screen rectangle.
    imaging::Picture maskImage;
    imaging::Picture shadowImage;
    /// A square; see `ringSize`.
    imaging::Picture ringImage;
    /// Side of the ring's picture in its own pixels.
    double ringSize = 256;
    imaging::Picture bubbleMask;
    imaging::Picture bubbleBorder;
};

/// Draws the layers; the caches return those that are equal to the last call's. `screenCache` is for matte and shadow
/// of the screen, where these change their view at other times than the rest; it may be `cache`, too.
StudioLayers makeStudioLayers(const StudioLayout& layout, const model::ProjectSettings& settings,
                              const LayerViews& views, imaging::PreparedLayers& cache,
                              imaging::PreparedLayers& screenCache);

}  // namespace lumivastor::edit
