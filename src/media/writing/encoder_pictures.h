// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "ffmpeg/ffmpeg_handles.h"
#include "imaging/picture_pool.h"

struct AVCodec;

namespace lumivastor::media {

/// Sets the pixel format that this encoder accepts: planar, with cb and cr in one plane, or in memory of the graphics
/// card. The codec has its size and is not yet open. Throws a `RecorderError` that begins with `what` when there is no
/// such card.
void preparePictureFormat(AVCodecContext& codec, const AVCodec& encoder, const char* what);

/// The picture in that format, with its colours tagged. The planar format is a view that keeps the picture alive until
/// the encoder is done with it; the others are copies.
ffmpeg::FrameHandle encoderPicture(const AVCodecContext& codec, const std::shared_ptr<imaging::PlanarBuffer>& picture);

}  // namespace lumivastor::media
