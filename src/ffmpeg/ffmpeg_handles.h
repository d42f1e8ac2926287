// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

// The one place outside the sources that knows FFmpeg's structs exist. Headers hold them through these owning handles
// and never see FFmpeg's own headers.
struct AVCodecContext;
struct AVCodecParameters;
struct AVFormatContext;
struct AVFrame;
struct AVIOContext;
struct AVPacket;
struct AVStream;
struct SwrContext;
struct SwsContext;

namespace lumivastor::ffmpeg {

struct FfmpegDelete {
    void operator()(AVCodecContext* codec) const;
    void operator()(AVCodecParameters* parameters) const;
    void operator()(AVFormatContext* input) const;  // one that was opened for reading
    void operator()(AVFrame* frame) const;
    void operator()(AVPacket* packet) const;
    void operator()(SwrContext* resampler) const;
    void operator()(SwsContext* scaler) const;
};

using CodecHandle = std::unique_ptr<AVCodecContext, FfmpegDelete>;
using CodecParametersHandle = std::unique_ptr<AVCodecParameters, FfmpegDelete>;
using InputHandle = std::unique_ptr<AVFormatContext, FfmpegDelete>;
using FrameHandle = std::unique_ptr<AVFrame, FfmpegDelete>;
using PacketHandle = std::unique_ptr<AVPacket, FfmpegDelete>;
using ResamplerHandle = std::unique_ptr<SwrContext, FfmpegDelete>;
using ScalerHandle = std::unique_ptr<SwsContext, FfmpegDelete>;

}  // namespace lumivastor::ffmpeg
