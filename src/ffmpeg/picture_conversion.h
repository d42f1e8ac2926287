// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "ffmpeg/picture_scaler.h"
#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::ffmpeg {

/// Turns decoded pictures into ours. Chroma samples are taken to sit where the picture says, and at the left one of two
/// columns, between two rows, when it says nothing. Keeps its tables from picture to picture; one thread at a time.
class PictureConverter {
  public:
    /// A view of a decoded picture. Shares the decoder's memory when that is 8-bit 4:2:0; otherwise converts to it.
    imaging::YuvPicture planar(const AVFrame& frame);

    /// The decoded picture in sRGB-encoded BGRA, opaque.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> bgra(const AVFrame& frame);

  private:
    void convert(const AVFrame& frame, int toFormat, const imaging::YuvEncoding& to, const PicturePlanes& planes);

    PictureScaler scaler_;
};

}  // namespace lumivastor::ffmpeg
