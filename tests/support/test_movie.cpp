// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/test_movie.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <stdexcept>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
}

namespace lumivastor {

namespace {

// The code: two rows of eight square blocks from the top left corner, white for one, the lowest bit first. A frame of
// the opposite colour is not needed: the encoder keeps blocks of this size apart at any bit rate used here.
constexpr int kBlock = 12;
constexpr int kColumns = 8;
constexpr int kBits = 16;
constexpr int kParity = kBits - 1;  // the last bit makes the number of ones odd, so that a grey picture has no number

constexpr double kBeepSeconds = 0.05;

struct Delete {
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFormatContext* context) const {
        if (context->iformat != nullptr) {
            avformat_close_input(&context);
        } else {
            avio_closep(&context->pb);
            avformat_free_context(context);
        }
    }
};
template <typename Type>
using Owned = std::unique_ptr<Type, Delete>;

int require(int result, const char* what) {
    if (result < 0) {
        char text[AV_ERROR_MAX_STRING_SIZE] = {};
        av_strerror(result, text, sizeof text);
        throw std::runtime_error(std::string(what) + ": " + text);
    }
    return result;
}

// One track while it is written.
struct Track {
    Owned<AVCodecContext> codec;
    AVStream* stream = nullptr;
};

void writePackets(AVFormatContext& movie, Track& track, const AVFrame* frame) {
    require(avcodec_send_frame(track.codec.get(), frame), "encoding");
    const Owned<AVPacket> packet(av_packet_alloc());
    for (;;) {
        const int result = avcodec_receive_packet(track.codec.get(), packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        require(result, "encoding");
        if (packet->duration == 0 && track.codec->codec_type == AVMEDIA_TYPE_VIDEO) {
            packet->duration = track.codec->framerate.num > 0
                                   ? av_rescale_q(1, av_inv_q(track.codec->framerate), track.codec->time_base)
                                   : 0;
        }
        av_packet_rescale_ts(packet.get(), track.codec->time_base, track.stream->time_base);
        packet->stream_index = track.stream->index;
        require(av_interleaved_write_frame(&movie, packet.get()), "writing");
    }
}

std::int64_t pictureTick(const TestMovieOptions& options, int index) {
    if (!options.pictureTicks.empty()) return options.pictureTicks.at(static_cast<std::size_t>(index));
    return std::int64_t{index} * options.timescale / options.frameRate;
}

int pictureCount(const TestMovieOptions& options) {
    return options.pictureTicks.empty() ? options.pictures : static_cast<int>(options.pictureTicks.size());
}

Track addVideo(AVFormatContext& movie, const TestMovieOptions& options) {
    const AVCodec* const encoder = avcodec_find_encoder_by_name(options.videoEncoder.c_str());
    if (encoder == nullptr) throw std::runtime_error("no encoder " + options.videoEncoder);
    Track track;
    track.codec.reset(avcodec_alloc_context3(encoder));
    AVCodecContext& codec = *track.codec;
    codec.width = options.width;
    codec.height = options.height;
    codec.pix_fmt = AV_PIX_FMT_YUV420P;
    codec.time_base = {1, options.timescale};
    codec.framerate = {options.frameRate, 1};
    codec.bit_rate = options.bitRate;
    codec.gop_size = options.keyFrameInterval;
    codec.max_b_frames = options.reorderedPictures;
    codec.thread_count = 2;
    const bool isBt709 = options.encoding.matrix == imaging::YuvMatrix::bt709;
    codec.colorspace = isBt709 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    codec.color_primaries = isBt709 ? AVCOL_PRI_BT709 : AVCOL_PRI_SMPTE170M;
    codec.color_trc = AVCOL_TRC_BT709;
    codec.color_range = options.encoding.range == imaging::YuvRange::limited ? AVCOL_RANGE_MPEG : AVCOL_RANGE_JPEG;
    const std::string open = options.openGroups ? "1" : "0";
    av_opt_set(codec.priv_data, "preset", "veryfast", 0);
    if (options.videoEncoder == "libx265") {
        codec.codec_tag = MKTAG('h', 'v', 'c', '1');
        // On several threads its bits come out differently each time, and with them what damage does to them.
        const std::string parameters = "log-level=none:scenecut=0:pools=none:frame-threads=1:wpp=0:open-gop=" + open;
        av_opt_set(codec.priv_data, "x265-params", parameters.c_str(), 0);
    } else {
        std::string parameters = "scenecut=0:open-gop=" + open;
        if (options.slices > 0) parameters += ":slices=" + std::to_string(options.slices);
        av_opt_set(codec.priv_data, "x264-params", parameters.c_str(), 0);
    }
    if ((movie.oformat->flags & AVFMT_GLOBALHEADER) != 0) codec.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    require(avcodec_open2(&codec, encoder, nullptr), "opening the video encoder");
    track.stream = avformat_new_stream(&movie, nullptr);
    track.stream->time_base = codec.time_base;
    track.stream->avg_frame_rate = codec.framerate;
    require(avcodec_parameters_from_context(track.stream->codecpar, &codec), "video parameters");
    return track;
}

Track addSound(AVFormatContext& movie, const TestSound& sound) {
    const AVCodec* const encoder = avcodec_find_encoder(AV_CODEC_ID_AAC);
    Track track;
    track.codec.reset(avcodec_alloc_context3(encoder));
    AVCodecContext& codec = *track.codec;
    codec.sample_rate = sound.sampleRate;
    codec.sample_fmt = AV_SAMPLE_FMT_FLTP;
    av_channel_layout_default(&codec.ch_layout, sound.channels);
    codec.bit_rate = 128000;
    codec.time_base = {1, sound.sampleRate};
    if ((movie.oformat->flags & AVFMT_GLOBALHEADER) != 0) codec.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    require(avcodec_open2(&codec, encoder, nullptr), "opening the sound encoder");
    track.stream = avformat_new_stream(&movie, nullptr);
    track.stream->time_base = codec.time_base;
    require(avcodec_parameters_from_context(track.stream->codecpar, &codec), "sound parameters");
    return track;
}

// Sound frames from `next` on, until they reach `untilSeconds`.
struct SoundSource {
    TestSound sound;
    std::vector<double> beeps;  // when they begin
    std::int64_t length = 0;
    std::int64_t next = 0;

    float value(std::int64_t frame) const {
        const double t = static_cast<double>(frame) / sound.sampleRate;
        const auto tone = [this](double since) {
            return static_cast<float>(sound.amplitude * std::sin(2 * std::numbers::pi * sound.beepHertz * since));
        };
        if (sound.continuous) return tone(t);
        for (const double beep : beeps) {
            if (t >= beep && t < beep + kBeepSeconds) return tone(t - beep);
        }
        return 0;
    }

    void writeUntil(AVFormatContext& movie, Track& track, double untilSeconds) {
        while (next < length && static_cast<double>(next) / sound.sampleRate < untilSeconds) {
            const Owned<AVFrame> frame(av_frame_alloc());
            frame->nb_samples = static_cast<int>(std::min<std::int64_t>(track.codec->frame_size, length - next));
            frame->format = AV_SAMPLE_FMT_FLTP;
            frame->sample_rate = sound.sampleRate;
            require(av_channel_layout_copy(&frame->ch_layout, &track.codec->ch_layout), "channels");
            require(av_frame_get_buffer(frame.get(), 0), "sound frame");
            frame->pts = next;
            for (int i = 0; i < frame->nb_samples; ++i) {
                const float sample = value(next + i);
                for (int c = 0; c < sound.channels; ++c) reinterpret_cast<float*>(frame->extended_data[c])[i] = sample;
            }
            writePackets(movie, track, frame.get());
            next += frame->nb_samples;
        }
    }
};

imaging::YuvDestination destination(AVFrame& frame) {
    imaging::YuvDestination picture;
    picture.width = frame.width;
    picture.height = frame.height;
    picture.luma = frame.data[0];
    picture.lumaStride = frame.linesize[0];
    picture.cb = frame.data[1];
    picture.cr = frame.data[2];
    picture.chromaStride = frame.linesize[1];
    return picture;
}

// `lumaAt(x, y)` is 0...255, black to white.
template <typename LumaAt>
int numberFrom(int width, int height, LumaAt lumaAt) {
    if (width < kBlock * kColumns || height < 2 * kBlock) return -1;
    int bits = 0;
    int ones = 0;
    for (int bit = 0; bit < kBits; ++bit) {
        const int value = lumaAt(bit % kColumns * kBlock + kBlock / 2, bit / kColumns * kBlock + kBlock / 2);
        if (value > 80 && value < 176) return -1;
        if (value <= 80) continue;
        bits |= 1 << bit;
        ++ones;
    }
    return ones % 2 == 1 ? bits & ~(1 << kParity) : -1;
}

template <typename LumaAt>
bool flashFrom(int width, int height, LumaAt lumaAt) {
    return lumaAt(width / 2, height - height / 8) > 215;
}

int fromLimited(int luma) {
    return std::clamp((luma - 16) * 255 / 219, 0, 255);
}

}  // namespace

double testPictureSeconds(const TestMovieOptions& options, int index) {
    return static_cast<double>(pictureTick(options, index)) / options.timescale;
}

bool testPictureFlashes(const TestMovieOptions& options, int index) {
    if (index == 0) return false;
    // The first picture of each second but the first.
    return std::floor(testPictureSeconds(options, index)) != std::floor(testPictureSeconds(options, index - 1));
}

void paintTestPicture(int index, bool flash, const imaging::YuvDestination& picture) {
    int ones = 0;
    for (int bit = 0; bit < kParity; ++bit) ones += index >> bit & 1;
    const int code = index | (ones % 2 == 0 ? 1 << kParity : 0);
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            int luma = 60 + (x + y + index * 3) % 100;
            if (y < 2 * kBlock && x < kColumns * kBlock) {
                luma = (code >> (y / kBlock * kColumns + x / kBlock) & 1) != 0 ? 235 : 16;
            } else if (flash) {
                luma = 235;
            }
            picture.luma[y * picture.lumaStride + x] = static_cast<std::uint8_t>(luma);
        }
    }
    for (int y = 0; y < (picture.height + 1) / 2; ++y) {
        std::fill_n(picture.cb + y * picture.chromaStride, (picture.width + 1) / 2, std::uint8_t{128});
        std::fill_n(picture.cr + y * picture.chromaStride, (picture.width + 1) / 2, std::uint8_t{128});
    }
}

void makeTestMovie(const std::filesystem::path& path, const TestMovieOptions& options) {
    av_log_set_level(AV_LOG_QUIET);

    AVFormatContext* made = nullptr;
    require(avformat_alloc_output_context2(&made, nullptr, options.container.c_str(), path.c_str()), "making a movie");
    const Owned<AVFormatContext> movie(made);
    Track video;
    const bool hasVideo = !options.videoEncoder.empty();
    if (hasVideo) video = addVideo(*movie, options);
    const int count = pictureCount(options);
    std::vector<double> flashes;
    for (int i = 0; i < count; ++i) {
        if (testPictureFlashes(options, i)) flashes.push_back(testPictureSeconds(options, i));
    }
    const double pictureSeconds = count == 0 ? 0 : testPictureSeconds(options, count - 1) + 1.0 / options.frameRate;
    const double soundSeconds = options.soundSeconds > 0 ? options.soundSeconds : pictureSeconds;
    std::vector<Track> soundTracks;
    std::vector<SoundSource> sources;
    for (const TestSound& sound : options.sounds) {
        soundTracks.push_back(addSound(*movie, sound));
        sources.push_back({sound, flashes, std::llround(soundSeconds * sound.sampleRate), 0});
    }

    require(avio_open(&movie->pb, path.c_str(), AVIO_FLAG_WRITE), "opening the movie");
    AVDictionary* settings = nullptr;
    std::string flags;
    if (options.fragmented) flags += "+frag_keyframe+delay_moov+default_base_moof";
    if (options.indexFirst) flags += "+faststart";
    if (!flags.empty()) av_dict_set(&settings, "movflags", flags.c_str(), 0);
    if (hasVideo) av_dict_set_int(&settings, "video_track_timescale", options.timescale, 0);
    const int header = avformat_write_header(movie.get(), &settings);
    av_dict_free(&settings);
    require(header, "writing the header");

    for (int i = 0; hasVideo && i < count; ++i) {
        const Owned<AVFrame> frame(av_frame_alloc());
        frame->width = options.width;
        frame->height = options.height;
        frame->format = AV_PIX_FMT_YUV420P;
        require(av_frame_get_buffer(frame.get(), 0), "picture");
        frame->pts = pictureTick(options, i);
        if (options.paint) {
            options.paint(i, destination(*frame));
        } else {
            paintTestPicture(i, testPictureFlashes(options, i), destination(*frame));
        }
        writePackets(*movie, video, frame.get());
        for (std::size_t s = 0; s < sources.size(); ++s) {
            sources[s].writeUntil(*movie, soundTracks[s], testPictureSeconds(options, i));
        }
    }
    for (std::size_t s = 0; s < sources.size(); ++s) {
        sources[s].writeUntil(*movie, soundTracks[s], 1e9);
        writePackets(*movie, soundTracks[s], nullptr);
    }
    if (hasVideo) writePackets(*movie, video, nullptr);
    require(av_write_trailer(movie.get()), "finishing the movie");
}

int testPictureNumber(const imaging::YuvPicture& picture) {
    return numberFrom(picture.width, picture.height,
                      [&](int x, int y) { return fromLimited(picture.luma.samples[y * picture.luma.stride + x]); });
}

int testPictureNumber(const imaging::BgraPremultipliedBuffer& picture) {
    return numberFrom(picture.width(), picture.height(), [&](int x, int y) { return int{picture.pixel(x, y)[1]}; });
}

bool isTestFlash(const imaging::YuvPicture& picture) {
    return flashFrom(picture.width, picture.height,
                     [&](int x, int y) { return fromLimited(picture.luma.samples[y * picture.luma.stride + x]); });
}

bool isTestFlash(const imaging::BgraPremultipliedBuffer& picture) {
    return flashFrom(picture.width(), picture.height(), [&](int x, int y) { return int{picture.pixel(x, y)[1]}; });
}

std::vector<DecodedTestPicture> decodeTestMovie(const std::filesystem::path& path) {
    AVFormatContext* opened = nullptr;
    require(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), "opening");
    const Owned<AVFormatContext> movie(opened);
    const AVCodec* decoder = nullptr;
    const int index = require(av_find_best_stream(movie.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0), "no video");
    const AVStream& stream = *movie->streams[index];
    const Owned<AVCodecContext> codec(avcodec_alloc_context3(decoder));
    require(avcodec_parameters_to_context(codec.get(), stream.codecpar), "parameters");
    codec->pkt_timebase = stream.time_base;
    codec->err_recognition = AV_EF_EXPLODE;
    require(avcodec_open2(codec.get(), decoder, nullptr), "opening the decoder");
    const Owned<AVPacket> packet(av_packet_alloc());
    std::vector<DecodedTestPicture> pictures;
    bool draining = false;
    for (;;) {
        Owned<AVFrame> frame(av_frame_alloc());
        const int result = avcodec_receive_frame(codec.get(), frame.get());
        if (result == AVERROR_EOF) return pictures;
        if (result == AVERROR(EAGAIN)) {
            if (!draining && av_read_frame(movie.get(), packet.get()) >= 0) {
                if (packet->stream_index == index) require(avcodec_send_packet(codec.get(), packet.get()), "decoding");
                av_packet_unref(packet.get());
            } else {
                draining = true;
                require(avcodec_send_packet(codec.get(), nullptr), "draining");
            }
            continue;
        }
        require(result, "decoding");
        if (frame->decode_error_flags != 0) throw std::runtime_error("a picture with errors");
        imaging::YuvPicture picture;
        picture.width = frame->width;
        picture.height = frame->height;
        picture.luma = {frame->data[0], frame->linesize[0]};
        picture.cb = {frame->data[1], frame->linesize[1]};
        picture.cr = {frame->data[2], frame->linesize[2]};
        const double seconds = static_cast<double>(frame->pts) * av_q2d(stream.time_base);
        const int width = frame->width;
        const int height = frame->height;
        picture.owner = std::shared_ptr<const AVFrame>(frame.release(), Delete{});
        pictures.push_back({seconds, width, height, std::move(picture)});
    }
}

}  // namespace lumivastor
