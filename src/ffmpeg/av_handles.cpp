// SPDX-License-Identifier: GPL-3.0-or-later
#include "ffmpeg/av_handles.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace lumivastor::ffmpeg {

void AvDelete::operator()(AVCodecContext* codec) const {
    avcodec_free_context(&codec);
}
void AvDelete::operator()(AVFormatContext* input) const {
    avformat_close_input(&input);
}
void AvDelete::operator()(AVFrame* frame) const {
    av_frame_free(&frame);
}
void AvDelete::operator()(AVPacket* packet) const {
    av_packet_free(&packet);
}
void AvDelete::operator()(SwrContext* resampler) const {
    swr_free(&resampler);
}
void AvDelete::operator()(SwsContext* scaler) const {
    sws_freeContext(scaler);
}

}  // namespace lumivastor::ffmpeg
