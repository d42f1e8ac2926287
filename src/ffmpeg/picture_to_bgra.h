// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "ffmpeg/picture_scaler.h"
#include "imaging/pixel_buffer.h"

namespace lumivastor::ffmpeg {

/// A device's picture as it lies in memory. `format` is one of FFmpeg's pixel formats.
struct DevicePicture {
    int format = -1;
    int width = 0;
    int height = 0;
    std::array<const std::uint8_t*, 4> planes{};
    std::array<int, 4> strides{};
    /// Of the YUV formats; absent: what a device of its kind means.
    std::optional<bool> isBt709;
    std::optional<bool> isFullRange;
};

/// Whether an untagged picture is in BT.709. Cameras use BT.601 at every size (the UVC standard's default); HDMI uses
/// BT.709 from 720 lines on.
bool meansBt709(bool isExternal, int height);

/// A picture whose planes follow each other in one block of `size` bytes, as drivers and PipeWire hand them over.
/// `stride` is that of the first plane, in bytes; 0 means rows without gaps. nullopt when the block is too small, a
/// size is invalid, or FFmpeg does not know the format.
std::optional<DevicePicture> pictureInBlock(int format, int width, int height, const std::uint8_t* block,
                                            std::size_t size, int stride);

/// The same with every plane in a block of its own.
struct PlaneBlock {
    const std::uint8_t* start = nullptr;
    std::size_t size = 0;
    int stride = 0;
};
std::optional<DevicePicture> pictureInPlanes(int format, int width, int height, std::span<const PlaneBlock> blocks);

/// Turns device pictures into opaque sRGB ones of ours. Keeps its tables from picture to picture; one thread at a time.
class PictureToBgra {
  public:
    explicit PictureToBgra(bool isExternal) : isExternal_(isExternal) {}

    /// Null when the format cannot be converted.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> convert(const DevicePicture& picture);

  private:
    bool isExternal_;
    PictureScaler scaler_;
};

/// The picture in a decoded frame.
DevicePicture pictureIn(const AVFrame& frame);

}  // namespace lumivastor::ffmpeg
