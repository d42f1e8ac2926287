// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::imaging {

/// Turns a picture into planar 4:2:0 of the same size, in the destination's encoding; alpha is assumed to be full. A
/// chroma sample is the mean of its two rows; across columns it weights the seven around its site with -1, 0, 9, 16, 9,
/// 0, -1, which keeps thin coloured lines better than a plain mean. Pixels beyond the edges repeat those at the edges.
/// All arithmetic is on 16-bit integers, so that every machine gives the same picture. Compiled for several instruction
/// sets and chosen at run time: recording does this for each picture. Any thread.
void convertToPlanar(const BgraPremultipliedBuffer& source, const YuvDestination& destination);

/// The same as plain scalar code, for tests to compare with.
void convertToPlanarPlainly(const BgraPremultipliedBuffer& source, const YuvDestination& destination);

}  // namespace lumivastor::imaging
