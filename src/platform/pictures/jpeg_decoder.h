// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "ffmpeg/ffmpeg_handles.h"
#include "ffmpeg/picture_to_bgra.h"

namespace lumivastor::platform {

/// Decodes the single JPEG pictures that cameras deliver. One thread at a time.
class JpegDecoder {
  public:
    /// The picture stays valid until the next call. nullopt when the bytes are no JPEG.
    std::optional<ffmpeg::DevicePicture> decode(const std::uint8_t* bytes, std::size_t size);

  private:
    ffmpeg::CodecHandle decoder_;
    ffmpeg::PacketHandle packet_;
    ffmpeg::FrameHandle frame_;
};

}  // namespace lumivastor::platform
