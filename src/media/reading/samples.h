// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <variant>
#include <vector>

#include "base/media_time.h"
#include "base/pcm_format.h"
#include "ffmpeg/ffmpeg_handles.h"
#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::media {

/// The format in which a reader returns pictures.
enum class PictureFormat {
    bgraPremultiplied,  // sRGB-encoded, opaque
    planar,             // as decoded; without a copy where the decoder works in 8-bit 4:2:0
    timesOnly,          // planar pictures of the track's size without samples: nothing is decoded
};

/// One picture and when it is shown. Copies share the pixels.
struct VideoSample {
    MediaTime presentationTime;
    MediaTime duration;
    std::variant<imaging::YuvPicture, std::shared_ptr<const imaging::BgraPremultipliedBuffer>> picture;
    /// The picture's own time in its movie, which may be before what a segment shows of it.
    MediaTime sourceTime{};

    const imaging::YuvPicture& planar() const { return std::get<imaging::YuvPicture>(picture); }
    const imaging::BgraPremultipliedBuffer& bgra() const {
        return *std::get<std::shared_ptr<const imaging::BgraPremultipliedBuffer>>(picture);
    }
};

/// A piece of sound. Full scale is -1...1; a mix may exceed it.
struct PcmSample {
    MediaTime presentationTime;
    PcmFormat format;
    std::vector<float> values;  // interleaved; frames() times channels
    /// Something was left out before it, so its time is no jitter.
    bool isAfterCut = false;

    std::size_t frames() const { return values.size() / static_cast<std::size_t>(format.channels); }
    MediaTime duration() const { return {static_cast<std::int64_t>(frames()), format.sampleRate}; }
};

/// The format of a track's samples, for writing them unchanged into another movie. Copies share it.
struct StoredFormat {
    std::shared_ptr<const AVCodecParameters> parameters;
    int timescale = 1;
};

/// One encoded sample, as stored in the file. Copies share the bytes.
struct StoredSample {
    MediaTime presentationTime;  // before zero for the encoder delay of sound
    MediaTime decodeTime;
    MediaTime duration;
    bool isKey = false;
    std::shared_ptr<const AVPacket> packet;
};

}  // namespace lumivastor::media
