// SPDX-License-Identifier: GPL-3.0-or-later
#include "ffmpeg/ffmpeg_handles.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace lumivastor::ffmpeg {

void FfmpegDelete::operator()(AVCodecContext* codec) const {
    avcodec_free_context(&codec);
}
void FfmpegDelete::operator()(AVCodecParameters* parameters) const {
    avcodec_parameters_free(&parameters);
}
void FfmpegDelete::operator()(AVFormatContext* input) const {
    avformat_close_input(&input);
}
void FfmpegDelete::operator()(AVFrame* frame) const {
    av_frame_free(&frame);
}
void FfmpegDelete::operator()(AVPacket* packet) const {
    av_packet_free(&packet);
}
void FfmpegDelete::operator()(SwrContext* resampler) const {
    swr_free(&resampler);
}
void FfmpegDelete::operator()(SwsContext* scaler) const {
    sws_freeContext(scaler);
}

}  // namespace lumivastor::ffmpeg
