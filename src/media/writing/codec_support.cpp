// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/codec_support.h"

#include <algorithm>

#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/writing/h264_bitstream.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

namespace lumivastor::media {

ffmpeg::CodecHandle makeEncoder(const AVCodec* encoder, const char* what) {
    ffmpeg::prepareFfmpeg();
    if (encoder == nullptr) ffmpeg::checked(AVERROR_ENCODER_NOT_FOUND, what);
    ffmpeg::CodecHandle codec(avcodec_alloc_context3(encoder));
    if (!codec) ffmpeg::checked(AVERROR(ENOMEM), what);
    codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    return codec;
}

void askForHighProfile(AVCodecContext& codec) {
    // Some encoders read the context, others an option of their own, whose default is Main.
    codec.profile = kH264High;
    av_opt_set(codec.priv_data, "profile", "high", 0);
}

ffmpeg::CodecParametersHandle parametersOf(const AVCodecContext& codec) {
    ffmpeg::CodecParametersHandle parameters(avcodec_parameters_alloc());
    if (!parameters) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    ffmpeg::checked(avcodec_parameters_from_context(parameters.get(), &codec),
                    "Eine Spur konnte nicht angelegt werden");
    return parameters;
}

void replaceParameterSets(AVCodecParameters& parameters, std::span<const std::uint8_t> sets) {
    av_freep(&parameters.extradata);
    parameters.extradata_size = 0;
    parameters.extradata = static_cast<std::uint8_t*>(av_mallocz(sets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (parameters.extradata == nullptr) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    std::copy(sets.begin(), sets.end(), parameters.extradata);
    parameters.extradata_size = static_cast<int>(sets.size());
}

ffmpeg::PacketHandle packetOf(std::span<const std::uint8_t> bytes, const AVPacket& like, const char* what) {
    ffmpeg::PacketHandle packet = ffmpeg::makePacket();
    ffmpeg::checked(av_new_packet(packet.get(), static_cast<int>(bytes.size())), what);
    std::copy(bytes.begin(), bytes.end(), packet->data);
    packet->pts = like.pts;
    packet->dts = like.dts;
    packet->duration = like.duration;
    packet->flags = like.flags;
    return packet;
}

void drainEncoder(AVCodecContext& codec, AVPacket& packet, const char* what, const PacketConsumer& consume) {
    for (;;) {
        const int result = avcodec_receive_packet(&codec, &packet);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        ffmpeg::checked(result, what);
        consume(packet);
        av_packet_unref(&packet);
    }
}

}  // namespace lumivastor::media
