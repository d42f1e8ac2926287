// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/pixel_rect.h"
#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::imaging {

/// Turns a picture into planar 4:2:0 of the same size, in the destination's encoding; alpha is assumed to be full. A
/// chroma sample is the mean of its two rows; across columns it weights the seven around its site with -1, 0, 9, 16, 9,
/// 0, -1, which keeps thin coloured lines better than a plain mean. Pixels beyond the edges repeat those at the edges.
/// All arithmetic is on 16-bit integers, so that every machine gives the same picture. Compiled for several instruction
/// sets and chosen at run time: recording does this for each picture. Any thread.
void convertToPlanar(const BgraPremultipliedBuffer& source, const YuvDestination& destination);

/// The same for the samples of `area` alone, which `convertedArea` made. Samples beside it may be written, too, and get
/// what the whole conversion gives them.
void convertToPlanar(const BgraPremultipliedBuffer& source, const YuvDestination& destination, const PixelRect& area);

/// The samples that pixels of `changed` have a part in, of a picture of this size: whole chroma samples, and those that
/// the filter across columns reaches.
PixelRect convertedArea(const PixelRect& changed, int width, int height);

/// The same as plain scalar code, for tests to compare with.
void convertToPlanarPlainly(const BgraPremultipliedBuffer& source, const YuvDestination& destination);

}  // namespace lumivastor::imaging
