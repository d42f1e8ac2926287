// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/codec_support.h"

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
