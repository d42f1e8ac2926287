// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "imaging/painting/source_planes.h"
#include "imaging/studio_background.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::imaging {

/// The background's luma or chroma for a planar destination of its size, as levels: finer than 8 bits, with
/// the pattern added, so that whatever is rounded in the end, a shadow over it too, is rounded up or down by it.
SourcePlanes lumaOf(const StudioBackground& background, const YuvEncoding& encoding);
SourcePlanes chromaOf(const StudioBackground& background, const YuvEncoding& encoding);

}  // namespace lumivastor::imaging
