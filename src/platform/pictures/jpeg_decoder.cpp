// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/jpeg_decoder.h"

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor::platform {
namespace {

// Beyond any camera's picture.
constexpr std::size_t kLargest = std::size_t{1} << 28;

}  // namespace

std::optional<ffmpeg::DevicePicture> JpegDecoder::decode(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0 || size > kLargest) return std::nullopt;
    if (!decoder_) {
        const AVCodec* const codec = avcodec_find_decoder(AV_CODEC_ID_MJPEG);
        ffmpeg::CodecHandle decoder(avcodec_alloc_context3(codec));
        packet_.reset(av_packet_alloc());
        frame_.reset(av_frame_alloc());
        if (codec == nullptr || !decoder || !packet_ || !frame_) return std::nullopt;
        decoder->thread_count = 1;
        if (avcodec_open2(decoder.get(), codec, nullptr) < 0) return std::nullopt;
        decoder_ = std::move(decoder);
    }
    // A copy, because the decoder reads a little beyond the end.
    if (av_new_packet(packet_.get(), static_cast<int>(size)) < 0) return std::nullopt;
    std::copy_n(bytes, size, packet_->data);
    const bool isTaken = avcodec_send_packet(decoder_.get(), packet_.get()) >= 0;
    av_packet_unref(packet_.get());
    av_frame_unref(frame_.get());
    if (!isTaken || avcodec_receive_frame(decoder_.get(), frame_.get()) < 0) return std::nullopt;
    return ffmpeg::pictureIn(*frame_);
}

}  // namespace lumivastor::platform
