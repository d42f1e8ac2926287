// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

// The one place outside the sources of this folder that knows FFmpeg's structs exist.
struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct SwrContext;
struct SwsContext;

namespace lumivastor::ffmpeg {

struct AvDelete {
    void operator()(AVCodecContext* codec) const;
    void operator()(AVFormatContext* input) const;
    void operator()(AVFrame* frame) const;
    void operator()(AVPacket* packet) const;
    void operator()(SwrContext* resampler) const;
    void operator()(SwsContext* scaler) const;
};

template <typename T>
using AvHandle = std::unique_ptr<T, AvDelete>;

}  // namespace lumivastor::ffmpeg
