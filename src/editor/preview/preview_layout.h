// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/geometry.h"
#include "base/pixel_size.h"
#include "edit/studio_layout.h"

// Where the canvas lies in the preview, which shows all of it as large as it fits, in the middle.

namespace lumivastor::editor {

/// The largest picture of the canvas's shape in a view, in the view's pixels, origin top-left. It begins and ends at
/// whole pixels, so that a frame of its size is shown pixel by pixel.
Rect shownCanvas(PixelSize view, PixelSize canvas);

/// A rectangle of the view (origin top-left, in the unit of `shown`) in canvas pixels (origin bottom-left). It may
/// reach beyond the canvas.
Rect canvasRect(const Rect& viewRect, const Rect& shown, PixelSize canvas);

/// The inverse.
Rect viewRect(const Rect& canvasRect, const Rect& shown, PixelSize canvas);

}  // namespace lumivastor::editor
