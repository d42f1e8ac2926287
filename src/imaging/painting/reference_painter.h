// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "imaging/picture.h"
#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

// The painter that defines a picture's pixels: it computes one destination sample after the other, in double precision,
// directly from the recipe, without shortcuts. It is far too slow for frames; tests compare the fast painter
// (painter.h) with it. Any thread.

namespace lumivastor::imaging {

/// Paints the rectangle (0, 0, width, height) of the picture's space, replacing all of `destination`.
void paintReference(const Picture& picture, BgraPremultipliedBuffer& destination);

/// The same as 4:2:0 samples; what is transparent becomes black.
void paintReference(const Picture& picture, const YuvDestination& destination);

}  // namespace lumivastor::imaging
