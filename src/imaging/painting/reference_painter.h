// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "imaging/picture.h"
#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

// The painter that says what a picture's pixels are: one destination sample after the other, in double precision,
// straight down the recipe, without any shortcut. Far too slow for frames; tests hold the fast painter (painter.h)
// against it. Any thread.

namespace lumivastor::imaging {

/// Paints the rectangle (0, 0, width, height) of the picture's space, replacing all of `destination`.
void paintReference(const Picture& picture, BgraPremultipliedBuffer& destination);

/// The same as 4:2:0 samples; what is transparent becomes black.
void paintReference(const Picture& picture, const YuvDestination& destination);

}  // namespace lumivastor::imaging
