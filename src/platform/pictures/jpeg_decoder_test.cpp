// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/jpeg_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor::platform {
namespace {

// A flat red picture, full range as all JPEG is.
std::vector<std::uint8_t> redJpeg() {
    const ffmpeg::CodecHandle encoder(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_MJPEG)));
    encoder->width = 64;
    encoder->height = 48;
    encoder->pix_fmt = AV_PIX_FMT_YUVJ420P;
    encoder->time_base = {1, 30};
    encoder->flags |= AV_CODEC_FLAG_QSCALE;
    encoder->global_quality = FF_QP2LAMBDA;
    if (avcodec_open2(encoder.get(), encoder->codec, nullptr) < 0) return {};
    const ffmpeg::FrameHandle frame(av_frame_alloc());
    frame->width = 64;
    frame->height = 48;
    frame->format = AV_PIX_FMT_YUVJ420P;
    frame->quality = FF_QP2LAMBDA;
    if (av_frame_get_buffer(frame.get(), 0) < 0) return {};
    const std::uint8_t values[] = {76, 85, 255};
    for (int plane = 0; plane < 3; ++plane) {
        std::fill_n(frame->data[plane], frame->linesize[plane] * (plane == 0 ? 48 : 24), values[plane]);
    }
    const ffmpeg::PacketHandle packet(av_packet_alloc());
    if (avcodec_send_frame(encoder.get(), frame.get()) < 0) return {};
    if (avcodec_receive_packet(encoder.get(), packet.get()) < 0) return {};
    return {packet->data, packet->data + packet->size};
}

TEST(JpegDecoder, DecodesCamerasPicturesInTheirColours) {
    const auto bytes = redJpeg();
    ASSERT_FALSE(bytes.empty());
    JpegDecoder decoder;
    ffmpeg::PictureToBgra converter(false);
    for (int i = 0; i < 3; ++i) {
        const auto picture = decoder.decode(bytes.data(), bytes.size());
        ASSERT_TRUE(picture);
        const auto image = converter.convert(*picture);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->width(), 64);
        EXPECT_NEAR(image->pixel(30, 20)[2], 255, 4);
        EXPECT_NEAR(image->pixel(30, 20)[1], 0, 4);
        EXPECT_NEAR(image->pixel(30, 20)[0], 0, 4);
    }
}

TEST(JpegDecoder, DamagedPicturesAreNoTrouble) {
    auto bytes = redJpeg();
    ASSERT_FALSE(bytes.empty());
    JpegDecoder decoder;
    const std::vector<std::uint8_t> noise(1000, 0x5a);
    EXPECT_FALSE(decoder.decode(noise.data(), noise.size()));
    EXPECT_FALSE(decoder.decode(bytes.data(), 0));
    static_cast<void>(decoder.decode(bytes.data(), bytes.size() / 2));
    EXPECT_TRUE(decoder.decode(bytes.data(), bytes.size()));
}

}  // namespace
}  // namespace lumivastor::platform
