// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "imaging/painting/source_planes.h"
#include "imaging/studio_background.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::imaging {

/// The background's luma or chroma for a planar destination of its size, as levels: finer than 8 bits, with the dither
/// pattern added, so that the pattern also rounds what is painted over the background, such as a shadow.
SourcePlanes lumaOf(const StudioBackground& background, const YuvEncoding& encoding);
SourcePlanes chromaOf(const StudioBackground& background, const YuvEncoding& encoding);

}  // namespace lumivastor::imaging
