// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/pixel_size.h"
#include "imaging/affine_transform.h"

namespace lumivastor::playback {

/// The largest size of the canvas's shape that fits into the one available, and never larger than the canvas. All are
/// at least 1 by 1.
PixelSize fittedFrame(PixelSize canvas, PixelSize available);

/// Transforms canvas coordinates to those of such a frame.
imaging::AffineTransform scalingTo(PixelSize canvas, PixelSize frame);

}  // namespace lumivastor::playback
