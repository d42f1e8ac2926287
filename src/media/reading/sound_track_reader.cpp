// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/sound_track_reader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "base/precondition.h"
#include "ffmpeg/ffmpeg_support.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libswresample/swresample.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kUnconvertible = "Der Ton konnte nicht umgewandelt werden";

// How much the resampler gets at once, in frames.
constexpr std::size_t kBlockFrames = 2048;

}  // namespace

SoundTrackReader::SoundTrackReader(SegmentedTrack track, const PcmFormat& format, std::int64_t position)
    : track_(std::move(track)), format_(format), position_(position) {
    precondition(format.sampleRate > 0, "a sample rate");
}

SoundTrackReader::~SoundTrackReader() = default;

void SoundTrackReader::seek(std::int64_t position) {
    position_ = position;
    segment_ = 0;
    entered_ = false;
}

std::int64_t SoundTrackReader::frameAt(const MediaTime& time) const {
    return time.rescaled(format_.sampleRate).value;
}

void SoundTrackReader::read(std::span<float> values) {
    const auto channels = static_cast<std::size_t>(format_.channels);
    precondition(values.size() % channels == 0, "whole frames");
    std::size_t done = 0;
    const std::size_t wanted = values.size() / channels;
    while (done < wanted) {
        while (segment_ < track_.segments.size() && frameAt(track_.segments[segment_].target.end()) <= position_) {
            ++segment_;
            entered_ = false;
        }
        std::size_t count = wanted - done;
        const bool inside = segment_ < track_.segments.size();
        if (inside) {
            const std::int64_t left = frameAt(track_.segments[segment_].target.end()) - position_;
            count = static_cast<std::size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(count), left));
        }
        const std::span<float> part = values.subspan(done * channels, count * channels);
        if (inside && !track_.segments[segment_].isEmpty()) {
            if (!entered_) enter(track_.segments[segment_]);
            readSegment(part);
            softenJoins(stretchOf(segment_), position_, part, format_);
        } else {
            std::fill(part.begin(), part.end(), 0.0F);
        }
        position_ += static_cast<std::int64_t>(count);
        done += count;
    }
}

// Whether a cut joins a segment with the one before it.
bool SoundTrackReader::isJoin(std::size_t segment) const {
    if (segment == 0 || segment >= track_.segments.size()) return false;
    const MovieSegment& before = track_.segments[segment - 1];
    const MovieSegment& behind = track_.segments[segment];
    if (before.isEmpty() || behind.isEmpty()) return false;
    const bool goesOn = before.asset == behind.asset && before.sourceTrackId == behind.sourceTrackId &&
                        before.sourceStart + before.target.duration == behind.sourceStart;
    return !goesOn;
}

SoundStretch SoundTrackReader::stretchOf(std::size_t segment) const {
    const TimeRange& target = track_.segments[segment].target;
    return {frameAt(target.start), frameAt(target.end()), isJoin(segment), isJoin(segment + 1)};
}

void SoundTrackReader::enter(const MovieSegment& segment) {
    if (decoder_ == nullptr || decoderAsset_ != segment.asset.get() || decoderTrack_ != segment.sourceTrackId) {
        decoder_ = std::make_unique<SoundDecoder>(segment.asset, segment.sourceTrackId, format_.channels);
        decoderAsset_ = segment.asset.get();
        decoderTrack_ = segment.sourceTrackId;
    }
    const int sourceRate = decoder_->sampleRate();
    const std::int64_t into = position_ - frameAt(segment.target.start);
    const MediaTime source = segment.sourceStart + MediaTime{into, format_.sampleRate};
    decoder_->seek(source.rescaled(sourceRate).value);
    resampler_.reset();
    if (sourceRate != format_.sampleRate) {
        AVChannelLayout layout{};
        av_channel_layout_default(&layout, format_.channels);
        SwrContext* made = nullptr;
        const int result = swr_alloc_set_opts2(&made, &layout, AV_SAMPLE_FMT_FLT, format_.sampleRate, &layout,
                                               AV_SAMPLE_FMT_FLT, sourceRate, 0, nullptr);
        resampler_.reset(made);
        ffmpeg::checked(result, kUnconvertible);
        ffmpeg::checked(swr_init(resampler_.get()), kUnconvertible);
    }
    entered_ = true;
}

void SoundTrackReader::readSegment(std::span<float> values) {
    if (!resampler_) {
        decoder_->read(values);
        return;
    }
    const auto channels = static_cast<std::size_t>(format_.channels);
    std::size_t done = 0;
    const std::size_t wanted = values.size() / channels;
    bool drained = false;  // of what the resampler holds already
    while (done < wanted) {
        const auto left = static_cast<int>(wanted - done);
        std::array<std::uint8_t*, 1> target{reinterpret_cast<std::uint8_t*>(values.data() + done * channels)};
        int made = 0;
        block_.resize(kBlockFrames * channels);
        std::array<const std::uint8_t*, 1> source{reinterpret_cast<const std::uint8_t*>(block_.data())};
        if (!drained) {
            // An input of zero frames; null would end the stream.
            made =
                ffmpeg::checked(swr_convert(resampler_.get(), target.data(), left, source.data(), 0), kUnconvertible);
            drained = made < left;
        } else {
            decoder_->read(block_);
            made = ffmpeg::checked(
                swr_convert(resampler_.get(), target.data(), left, source.data(), static_cast<int>(kBlockFrames)),
                kUnconvertible);
        }
        done += static_cast<std::size_t>(made);
    }
}

}  // namespace lumivastor::media
