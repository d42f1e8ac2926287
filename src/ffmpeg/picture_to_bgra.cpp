// SPDX-License-Identifier: GPL-3.0-or-later
#include "ffmpeg/picture_to_bgra.h"

#include <algorithm>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace lumivastor::ffmpeg {
namespace {

// Beyond any camera; keeps sums of pixel positions within an int.
constexpr int kLargestSide = 16384;

// Whether the fourth value of a pixel may be anything.
bool hasFourthValue(int format) {
    const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    return description != nullptr &&
           ((description->flags & AV_PIX_FMT_FLAG_ALPHA) != 0 || av_get_padded_bits_per_pixel(description) == 32);
}

}  // namespace

bool meansBt709(bool isExternal, int height) {
    return isExternal && height >= 720;
}

std::optional<DevicePicture> pictureInBlock(int format, int width, int height, const std::uint8_t* block,
                                            std::size_t size, int stride) {
    if (block == nullptr || width <= 0 || height <= 0 || width > kLargestSide || height > kLargestSide) return {};
    const auto pixels = static_cast<AVPixelFormat>(format);
    std::array<int, 4> strides{};
    if (av_image_fill_linesizes(strides.data(), pixels, width) < 0 || strides[0] <= 0) return {};
    if (stride > 0) {
        // The other planes are as much wider as the first one is.
        if (stride < strides[0] || stride > 16 * kLargestSide) return {};
        for (std::size_t plane = 1; plane < 4; ++plane) {
            strides[plane] = static_cast<int>(static_cast<std::int64_t>(strides[plane]) * stride / strides[0]);
        }
        strides[0] = stride;
    }
    std::array<std::uint8_t*, 4> planes{};
    const int needed =
        av_image_fill_pointers(planes.data(), pixels, height, const_cast<std::uint8_t*>(block), strides.data());
    if (needed <= 0) return {};
    // Drivers may leave out what lies behind the last row's last pixel.
    const int tight = av_image_get_linesize(pixels, width, 0);
    const std::size_t slack = static_cast<std::size_t>(std::max(0, strides[0] - tight));
    if (size + (planes[1] == nullptr ? slack : 0) < static_cast<std::size_t>(needed)) return {};
    DevicePicture picture;
    picture.format = format;
    picture.width = width;
    picture.height = height;
    std::copy(planes.begin(), planes.end(), picture.planes.begin());
    picture.strides = strides;
    return picture;
}

std::optional<DevicePicture> pictureInPlanes(int format, int width, int height, std::span<const PlaneBlock> blocks) {
    const auto pixels = static_cast<AVPixelFormat>(format);
    const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(pixels);
    const int planes = av_pix_fmt_count_planes(pixels);
    if (description == nullptr || planes <= 0 || blocks.size() < static_cast<std::size_t>(planes)) return {};
    if (width <= 0 || height <= 0 || width > kLargestSide || height > kLargestSide) return {};
    DevicePicture picture;
    picture.format = format;
    picture.width = width;
    picture.height = height;
    for (std::size_t plane = 0; plane < static_cast<std::size_t>(planes); ++plane) {
        const PlaneBlock& block = blocks[plane];
        const int tight = av_image_get_linesize(pixels, width, static_cast<int>(plane));
        const int stride = block.stride > 0 ? block.stride : tight;
        const bool isColour = plane == 1 || plane == 2;
        const int rows = isColour ? AV_CEIL_RSHIFT(height, description->log2_chroma_h) : height;
        if (block.start == nullptr || tight <= 0 || stride < tight || stride > 16 * kLargestSide) return {};
        const std::size_t needed =
            static_cast<std::size_t>(stride) * static_cast<std::size_t>(rows - 1) + static_cast<std::size_t>(tight);
        if (block.size < needed) return {};
        picture.planes[plane] = block.start;
        picture.strides[plane] = stride;
    }
    return picture;
}

DevicePicture pictureIn(const AVFrame& frame) {
    DevicePicture picture;
    picture.format = frame.format;
    picture.width = frame.width;
    picture.height = frame.height;
    for (std::size_t plane = 0; plane < 4; ++plane) {
        picture.planes[plane] = frame.data[plane];
        picture.strides[plane] = frame.linesize[plane];
    }
    if (frame.colorspace == AVCOL_SPC_BT709) picture.isBt709 = true;
    if (frame.colorspace == AVCOL_SPC_BT470BG || frame.colorspace == AVCOL_SPC_SMPTE170M) picture.isBt709 = false;
    if (frame.color_range != AVCOL_RANGE_UNSPECIFIED) picture.isFullRange = frame.color_range == AVCOL_RANGE_JPEG;
    return picture;
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> PictureToBgra::convert(const DevicePicture& picture) {
    PictureScaler::Conversion conversion;
    conversion.width = picture.width;
    conversion.height = picture.height;
    conversion.fromFormat = formatWithoutRange(picture.format);
    conversion.toFormat = AV_PIX_FMT_BGRA;
    const bool isBt709 = picture.isBt709.value_or(meansBt709(isExternal_, picture.height));
    const bool isFullRange =
        picture.isFullRange.value_or(conversion.fromFormat != picture.format || isRgb(picture.format));
    conversion.from = {isBt709 ? imaging::YuvMatrix::bt709 : imaging::YuvMatrix::bt601,
                       isFullRange ? imaging::YuvRange::full : imaging::YuvRange::limited};
    // RGB formats that the scaler takes apart for converting are put together again with this one.
    conversion.to = {imaging::YuvMatrix::bt601, imaging::YuvRange::full};
    conversion.precision = PictureScaler::Precision::quick;
    if (scaler_.prepare(conversion) < 0) return nullptr;
    auto image = std::make_shared<imaging::BgraPremultipliedBuffer>(picture.width, picture.height);
    scaler_.convert(picture.planes.data(), picture.strides.data(),
                    {{image->row(0), nullptr, nullptr, nullptr}, {static_cast<int>(image->stride()), 0, 0, 0}});
    if (hasFourthValue(picture.format)) {
        for (int y = 0; y < picture.height; ++y) {
            std::uint8_t* const row = image->row(y);
            for (int x = 0; x < picture.width; ++x) row[4 * x + 3] = 255;
        }
    }
    return image;
}

}  // namespace lumivastor::ffmpeg
