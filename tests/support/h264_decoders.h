// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "imaging/yuv_picture.h"

namespace lumivastor {

/// The samples of a 4:2:0 picture, plane behind plane, without gaps.
struct PlainPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> samples;

    PlainPicture() = default;
    PlainPicture(int pictureWidth, int pictureHeight);
    explicit PlainPicture(const imaging::YuvPicture& picture);

    bool operator==(const PlainPicture&) const = default;

    int planeWidth(int plane) const { return plane == 0 ? width : (width + 1) / 2; }
    int planeHeight(int plane) const { return plane == 0 ? height : (height + 1) / 2; }
    std::uint8_t* row(int plane, int y);
    const std::uint8_t* row(int plane, int y) const;
    /// Valid while the samples are.
    imaging::YuvPicture view() const;
};

/// Decodes an H.264 stream access unit by access unit, as strictly as the decoder can. Pictures come in the order of
/// decoding.
class H264Decoder {
  public:
    using Shown = std::function<void(const PlainPicture&)>;

    virtual ~H264Decoder() = default;

    /// Units behind start codes.
    virtual void decode(std::span<const std::uint8_t> accessUnit) = 0;
    virtual void finish() = 0;
    /// Errors, and for FFmpeg warnings, so far.
    virtual int complaints() const = 0;
};

/// FFmpeg's decoder. Parameter sets go in apart, as a movie's header brings them.
std::unique_ptr<H264Decoder> makeFfmpegDecoder(std::span<const std::uint8_t> parameterSets, int threads,
                                               H264Decoder::Shown shown);
/// openh264's, which shares nothing with it. Parameter sets go in before the first access unit.
std::unique_ptr<H264Decoder> makeOpenH264Decoder(std::span<const std::uint8_t> parameterSets, H264Decoder::Shown shown);

}  // namespace lumivastor
