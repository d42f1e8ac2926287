// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/webm_tracks.h"

#include <algorithm>
#include <string>

#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_handles.h"
#include "ffmpeg/ffmpeg_support.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

namespace {

AssetTrack trackOf(const AVStream& stream) {
    const AVCodecParameters& parameters = *stream.codecpar;
    AssetTrack track;
    track.id = stream.index + 1;
    track.streamIndex = stream.index;
    track.kind = parameters.codec_type == AVMEDIA_TYPE_AUDIO ? TrackKind::audio : TrackKind::video;
    track.codec = avcodec_get_name(parameters.codec_id);
    track.width = parameters.width;
    track.height = parameters.height;
    track.colourTagged = parameters.color_space != AVCOL_SPC_UNSPECIFIED;
    track.sampleRate = parameters.sample_rate;
    track.channels = parameters.ch_layout.nb_channels;
    return track;
}

}  // namespace

std::vector<AssetTrack> webMTracks(const std::filesystem::path& path) {
    const std::string failed = path.filename().string() + " konnte nicht gelesen werden";
    ffmpeg::prepareFfmpeg();
    AVFormatContext* opened = nullptr;
    ffmpeg::checked(
        avformat_open_input(&opened, ("file:" + path.string()).c_str(), av_find_input_format("matroska"), nullptr),
        failed.c_str());
    const ffmpeg::InputHandle input(opened);
    std::vector<AssetTrack> tracks;
    for (unsigned i = 0; i < input->nb_streams; ++i) tracks.push_back(trackOf(*input->streams[i]));
    const ffmpeg::PacketHandle packet = ffmpeg::makePacket();
    for (;;) {
        const int result = av_read_frame(input.get(), packet.get());
        if (result == AVERROR_EOF) break;
        ffmpeg::checked(result, failed.c_str());
        AssetTrack& track = tracks.at(static_cast<std::size_t>(packet->stream_index));
        const AVRational base = input->streams[packet->stream_index]->time_base;
        const MediaTime start = ffmpeg::mediaTime(packet->pts, base.num, base.den);
        if (track.sampleCount++ == 0) track.start = start;
        track.end = std::max(track.end, start + ffmpeg::mediaTime(packet->duration, base.num, base.den));
        av_packet_unref(packet.get());
    }
    return tracks;
}

}  // namespace lumivastor::media
