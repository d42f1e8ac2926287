// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/sound_decoder.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_support.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kUndecodable = "Der Ton konnte nicht dekodiert werden";

// AAC's packets overlap, so the first after a jump is wrong, and its long-window codecs look back two. At 1024 frames
// each, and 48 kHz, this is nearly five of them.
constexpr double kPrerollSeconds = 0.1;

// Time stamps may be coarser than frames (movies with clocks of 600 or 1000 ticks): up to here a chunk counts as the
// continuation of the one before. Well below an audible shift.
constexpr double kStampToleranceSeconds = 0.002;

}  // namespace

SoundDecoder::SoundDecoder(std::shared_ptr<const Asset> asset, int trackId, int channels)
    : asset_(std::move(asset)), channels_(channels) {
    const AssetTrack* const track = asset_->track(trackId);
    precondition(track != nullptr && track->kind == TrackKind::audio, "an audio track of the movie");
    precondition(channels == 1 || channels == 2, "mono or stereo");
    track_ = *track;
    file_ = std::make_unique<MovieFile>(asset_->path());
    AVStream* const stream = file_->stream(track_.streamIndex);
    if (stream == nullptr || stream->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) {
        throw RecorderError(asset_->path().filename().string() + " wurde verändert.");
    }
    file_->selectOnly(track_.streamIndex);
    const AVCodec* const decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    if (decoder == nullptr) ffmpeg::checked(AVERROR_DECODER_NOT_FOUND, kUndecodable);
    codec_.reset(avcodec_alloc_context3(decoder));
    if (!codec_) ffmpeg::checked(AVERROR(ENOMEM), kUndecodable);
    ffmpeg::checked(avcodec_parameters_to_context(codec_.get(), stream->codecpar), kUndecodable);
    codec_->pkt_timebase = stream->time_base;
    // Priming is cut off here, by time; the decoder must not cut it, too.
    codec_->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    ffmpeg::checked(avcodec_open2(codec_.get(), decoder, nullptr), kUndecodable);
    packet_ = ffmpeg::makePacket();
    frame_ = ffmpeg::makeFrame();
}

SoundDecoder::~SoundDecoder() = default;

void SoundDecoder::seek(std::int64_t frame) {
    const auto chunkFrames = static_cast<std::int64_t>(chunk_.size()) / channels_;
    const std::int64_t reached = chunkStart_ + chunkFrames;
    // Decoding on is cheaper than jumping if the distance is about what a jump would decode anyway.
    const auto near = static_cast<std::int64_t>(2 * kPrerollSeconds * track_.sampleRate);
    if (!positioned_ || frame < chunkStart_ || frame > reached + near) jump(frame);
    position_ = frame;
}

void SoundDecoder::jump(std::int64_t frame) {
    avcodec_flush_buffers(codec_.get());
    const auto preroll = static_cast<std::int64_t>(kPrerollSeconds * track_.sampleRate);
    const std::int64_t ticks = av_rescale_q(frame - preroll, AVRational{1, track_.sampleRate}, codec_->pkt_timebase);
    file_->seek(track_.streamIndex, ticks);
    chunk_.clear();
    chunkStart_ = frame - preroll;
    chunkFollows_ = false;
    ended_ = false;
    draining_ = false;
    positioned_ = true;
}

void SoundDecoder::read(std::span<float> values) {
    if (!positioned_) jump(position_);
    const auto channels = static_cast<std::size_t>(channels_);
    precondition(values.size() % channels == 0, "whole frames");
    std::size_t done = 0;
    const std::size_t wanted = values.size() / channels;
    while (done < wanted) {
        const auto left = static_cast<std::int64_t>(wanted - done);
        const std::int64_t chunkEnd = chunkStart_ + static_cast<std::int64_t>(chunk_.size() / channels);
        float* const target = values.data() + done * channels;
        std::int64_t count = 0;
        if (!chunk_.empty() && position_ >= chunkStart_ && position_ < chunkEnd) {
            count = std::min(left, chunkEnd - position_);
            const float* const from = chunk_.data() + static_cast<std::size_t>(position_ - chunkStart_) * channels;
            std::copy_n(from, static_cast<std::size_t>(count) * channels, target);
            // Frames before the movie's beginning are encoder delay, not sound.
            const std::int64_t early = std::clamp<std::int64_t>(-position_, 0, count);
            std::fill_n(target, static_cast<std::size_t>(early) * channels, 0.0F);
        } else if (ended_ || (!chunk_.empty() && position_ < chunkStart_)) {
            count = ended_ ? left : std::min(left, chunkStart_ - position_);
            std::fill_n(target, static_cast<std::size_t>(count) * channels, 0.0F);
        } else {
            ended_ = !decodeChunk();
            continue;
        }
        position_ += count;
        done += static_cast<std::size_t>(count);
    }
}

bool SoundDecoder::decodeChunk() {
    for (;;) {
        const int result = avcodec_receive_frame(codec_.get(), frame_.get());
        if (result >= 0) {
            convert(*frame_);
            av_frame_unref(frame_.get());
            return true;
        }
        if (result == AVERROR(ENOMEM)) ffmpeg::checked(result, kUndecodable);
        if (result == AVERROR_EOF || draining_) return false;
        if (file_->readPacket(*packet_)) {
            // A packet that the decoder refuses is left out: its place is silent, and what follows keeps its time.
            const int sent = avcodec_send_packet(codec_.get(), packet_.get());
            av_packet_unref(packet_.get());
            if (sent == AVERROR(ENOMEM)) ffmpeg::checked(sent, kUndecodable);
            if (sent < 0) ++refusedPackets_;
        } else {
            draining_ = true;
            static_cast<void>(avcodec_send_packet(codec_.get(), nullptr));
        }
    }
}

void SoundDecoder::convert(const AVFrame& frame) {
    if (frame.sample_rate != track_.sampleRate) {
        throw RecorderError(std::string(kUndecodable) + ": Die Abtastrate wechselt.");
    }
    configure(frame);
    const auto channels = static_cast<std::size_t>(channels_);
    const std::int64_t reached = chunkStart_ + static_cast<std::int64_t>(chunk_.size() / channels);
    chunk_.resize(static_cast<std::size_t>(frame.nb_samples) * channels);
    std::array<std::uint8_t*, 1> target{reinterpret_cast<std::uint8_t*>(chunk_.data())};
    const int converted =
        ffmpeg::checked(swr_convert(mixer_.get(), target.data(), frame.nb_samples,
                                    const_cast<const std::uint8_t**>(frame.extended_data), frame.nb_samples),
                        kUndecodable);
    chunk_.resize(static_cast<std::size_t>(converted) * channels);

    std::int64_t start = reached;
    if (frame.pts != AV_NOPTS_VALUE) {
        const std::int64_t stamped = av_rescale_q(frame.pts, codec_->pkt_timebase, AVRational{1, track_.sampleRate});
        const auto tolerance = static_cast<std::int64_t>(kStampToleranceSeconds * track_.sampleRate);
        if (!chunkFollows_ || std::abs(stamped - reached) > tolerance) start = stamped;
    }
    chunkStart_ = start;
    chunkFollows_ = true;
}

void SoundDecoder::configure(const AVFrame& frame) {
    const int frameChannels = frame.ch_layout.nb_channels;
    if (mixer_ && mixedFormat_ == frame.format && mixedChannels_ == frameChannels) return;
    AVChannelLayout from{};
    AVChannelLayout to{};
    av_channel_layout_default(&to, channels_);
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
        av_channel_layout_default(&from, frameChannels);
    } else {
        ffmpeg::checked(av_channel_layout_copy(&from, &frame.ch_layout), kUndecodable);
    }
    SwrContext* made = nullptr;
    const int result = swr_alloc_set_opts2(&made, &to, AV_SAMPLE_FMT_FLT, track_.sampleRate, &from,
                                           static_cast<AVSampleFormat>(frame.format), track_.sampleRate, 0, nullptr);
    av_channel_layout_uninit(&from);
    mixer_.reset(made);
    ffmpeg::checked(result, kUndecodable);
    // The library's own choice lowers a mono sound by 3 dB in each of two channels, and raises what both channels share
    // by as much in one.
    constexpr std::array<double, 2> kSameInBoth{1.0, 1.0};
    constexpr std::array<double, 2> kMean{0.5, 0.5};
    if (frameChannels == 1 && channels_ == 2) {
        ffmpeg::checked(swr_set_matrix(mixer_.get(), kSameInBoth.data(), 1), kUndecodable);
    } else if (frameChannels == 2 && channels_ == 1) {
        ffmpeg::checked(swr_set_matrix(mixer_.get(), kMean.data(), 2), kUndecodable);
    } else {
        // Surround sound must not overflow when its channels agree.
        ffmpeg::checked(av_opt_set_double(mixer_.get(), "rematrix_maxval", 1.0, 0), kUndecodable);
    }
    ffmpeg::checked(swr_init(mixer_.get()), kUndecodable);
    mixedFormat_ = frame.format;
    mixedChannels_ = frameChannels;
}

}  // namespace lumivastor::media
