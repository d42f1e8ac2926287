// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/audio_encoder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/precondition.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/writing/codec_support.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kNoAudioEncoder = "Der Ton-Encoder konnte nicht geöffnet werden";
constexpr const char* kSoundRefused = "Der Ton konnte nicht kodiert werden";

const AVCodec* encoderFor(AudioCodec codec) {
    // FFmpeg's own Opus encoder is an experiment.
    return codec == AudioCodec::opus ? avcodec_find_encoder_by_name("libopus") : avcodec_find_encoder(AV_CODEC_ID_AAC);
}

}  // namespace

AudioEncoder::AudioEncoder(const AudioSettings& settings) : settings_(settings) {
    precondition(settings.sampleRate > 0 && settings.channels > 0 && settings.bitRate > 0, "sound settings are given");
    const AVCodec* const encoder = encoderFor(settings.codec);
    codec_ = makeEncoder(encoder, kNoAudioEncoder);
    codec_->sample_rate = settings.sampleRate;
    codec_->sample_fmt = settings.codec == AudioCodec::opus ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_FLTP;
    av_channel_layout_default(&codec_->ch_layout, settings.channels);
    codec_->bit_rate = settings.bitRate;
    codec_->time_base = {1, settings.sampleRate};
    ffmpeg::checked(avcodec_open2(codec_.get(), encoder, nullptr), kNoAudioEncoder);
    packet_ = ffmpeg::makePacket();
}

ffmpeg::CodecParametersHandle AudioEncoder::parameters() const {
    return parametersOf(*codec_);
}

void AudioEncoder::encode(const PcmSample& sample, std::int64_t startFrame, const PacketConsumer& consume) {
    precondition(sample.format.sampleRate == settings_.sampleRate && sample.format.channels == settings_.channels,
                 "sound of the input's rate and channels");
    const auto channels = static_cast<std::size_t>(settings_.channels);
    const auto packetFrames = static_cast<std::size_t>(codec_->frame_size);
    if (!begun_) {
        waitingStart_ = std::max<std::int64_t>(startFrame, 0);
        begun_ = true;
    }
    std::int64_t reached = waitingStart_ + static_cast<std::int64_t>(waiting_.size() / channels);
    isAfterCut_ = isAfterCut_ || sample.isAfterCut;
    const auto jitter = isAfterCut_ ? 0 : static_cast<std::int64_t>(kJitterSeconds * settings_.sampleRate);
    std::size_t skip = 0;
    if (std::abs(startFrame - reached) > jitter) {
        // Silence is added in pieces, so that a gap of hours takes no memory.
        while (reached < startFrame) {
            const auto piece = std::min<std::int64_t>(startFrame - reached, codec_->frame_size);
            waiting_.insert(waiting_.end(), static_cast<std::size_t>(piece) * channels, 0.0F);
            while (waiting_.size() >= packetFrames * channels) send(packetFrames, consume);
            reached += piece;
        }
        skip = std::min(static_cast<std::size_t>(reached - startFrame), sample.frames());
    }
    // A piece that is left out as a whole was not the first behind the cut.
    if (skip < sample.frames()) isAfterCut_ = false;
    const auto from = sample.values.begin() + static_cast<std::ptrdiff_t>(skip * channels);
    // The encoder refuses values that are no numbers.
    std::transform(from, sample.values.end(), std::back_inserter(waiting_),
                   [](float value) { return std::isfinite(value) ? value : 0.0F; });
    while (waiting_.size() >= packetFrames * channels) send(packetFrames, consume);
}

void AudioEncoder::finish(const PacketConsumer& consume) {
    const std::size_t left = waiting_.size() / static_cast<std::size_t>(settings_.channels);
    if (left > 0) send(left, consume);
    ffmpeg::checked(avcodec_send_frame(codec_.get(), nullptr), kSoundRefused);
    receive(consume);
}

void AudioEncoder::send(std::size_t frames, const PacketConsumer& consume) {
    const auto channels = static_cast<std::size_t>(settings_.channels);
    const ffmpeg::FrameHandle frame = ffmpeg::makeFrame();
    frame->nb_samples = static_cast<int>(frames);
    frame->format = codec_->sample_fmt;
    frame->sample_rate = settings_.sampleRate;
    ffmpeg::checked(av_channel_layout_copy(&frame->ch_layout, &codec_->ch_layout), kSoundRefused);
    ffmpeg::checked(av_frame_get_buffer(frame.get(), 0), kSoundRefused);
    frame->pts = waitingStart_;
    if (codec_->sample_fmt == AV_SAMPLE_FMT_FLT) {
        std::copy_n(waiting_.begin(), frames * channels, reinterpret_cast<float*>(frame->extended_data[0]));
    } else {
        for (std::size_t c = 0; c < channels; ++c) {
            auto* const plane = reinterpret_cast<float*>(frame->extended_data[c]);
            for (std::size_t i = 0; i < frames; ++i) plane[i] = waiting_[i * channels + c];
        }
    }
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(frames * channels));
    waitingStart_ += static_cast<std::int64_t>(frames);
    ffmpeg::checked(avcodec_send_frame(codec_.get(), frame.get()), kSoundRefused);
    receive(consume);
}

void AudioEncoder::receive(const PacketConsumer& consume) {
    drainEncoder(*codec_, *packet_, kSoundRefused, consume);
}

}  // namespace lumivastor::media
