// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/geometry.h"
#include "base/pixel_size.h"
#include "edit/studio_layout.h"

// The place of the canvas in the preview, which shows the whole canvas, centred, as large as it fits.

namespace lumivastor::editor {

/// Whole pixels of the screen.
struct PixelSize {
    int width = 0;
    int height = 0;

    bool operator==(const PixelSize&) const = default;
};

/// The largest rectangle with the canvas's aspect ratio in a view, in pixels of the view, origin top-left. Its edges
/// are whole pixels, so that a frame of its size is shown pixel by pixel.
Rect shownCanvas(PixelSize view, PixelSize canvas);

/// A rectangle of the view (origin top-left, in the unit of `shown`) in canvas pixels (origin bottom-left). It may
/// reach beyond the canvas.
Rect canvasRect(const Rect& viewRect, const Rect& shown, PixelSize canvas);

}  // namespace lumivastor::editor
