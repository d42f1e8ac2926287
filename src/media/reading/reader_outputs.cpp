// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/reader_outputs.h"

#include <algorithm>
#include <span>
#include <utility>

#include "base/precondition.h"
#include "ffmpeg/ffmpeg_support.h"
#include "ffmpeg/picture_conversion.h"
#include "media/reading/movie_file.h"
#include "media/reading/picture_decoder.h"
#include "media/reading/picture_times.h"
#include "media/reading/reader_state.h"
#include "media/reading/sound_track_reader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

// Pictures

VideoTrackOutput::VideoTrackOutput(std::shared_ptr<ReaderState> state, SegmentedTrack track, PictureFormat format)
    : state_(std::move(state)),
      track_(std::move(track)),
      format_(format),
      converter_(std::make_unique<ffmpeg::PictureConverter>()) {}

VideoTrackOutput::~VideoTrackOutput() = default;

std::optional<VideoSample> VideoTrackOutput::copyNextSample() {
    if (ended_) return std::nullopt;
    try {
        auto sample = format_ == PictureFormat::timesOnly ? next(times_) : next(decoder_);
        if (sample) {
            reached_ = sample->presentationTime + sample->duration;
            return sample;
        }
        ended_ = true;
        state_->outputEnded();
    } catch (const RecorderError& error) {
        ended_ = true;
        state_->fail(error, reached_);
    }
    return std::nullopt;
}

// The first segment's movie is opened now rather than with the first sample, so that a missing file is detected here.
void VideoTrackOutput::start() {
    for (const MovieSegment& segment : track_.segments) {
        if (segment.isEmpty()) continue;
        if (format_ == PictureFormat::timesOnly) {
            walk(segment, times_);
        } else {
            walk(segment, decoder_);
        }
        return;
    }
}

template <typename Walker>
void VideoTrackOutput::walk(const MovieSegment& segment, std::unique_ptr<Walker>& walker) {
    if (walker && walkedAsset_ == segment.asset.get() && walkedTrack_ == segment.sourceTrackId) return;
    walker = std::make_unique<Walker>(segment.asset, segment.sourceTrackId);
    walkedAsset_ = segment.asset.get();
    walkedTrack_ = segment.sourceTrackId;
}

// Clips the segment to the reader's range and finds its first picture. False when no part of it is in the range.
template <typename Walker>
bool VideoTrackOutput::enterSegment(const MovieSegment& segment, std::unique_ptr<Walker>& walker) {
    if (segment.isEmpty()) return false;
    MediaTime start = segment.target.start;
    MediaTime end = segment.target.end();
    if (state_->range) {
        start = std::max(start, state_->range->start);
        end = std::min(end, state_->range->end());
    }
    if (start >= end) return false;
    visible_ = TimeRange::between(start, end);
    reached_ = start;
    walk(segment, walker);
    walker->seek(segment.sourceStart + (start - segment.target.start));
    return walker->hasCurrent();
}

template <typename Walker>
std::optional<VideoSample> VideoTrackOutput::next(std::unique_ptr<Walker>& walker) {
    for (; segment_ < track_.segments.size(); ++segment_, entered_ = false) {
        const MovieSegment& segment = track_.segments[segment_];
        const auto onTimeline = [&segment](const MediaTime& source) {
            return segment.target.start + (source - segment.sourceStart);
        };
        if (!entered_) {
            if (!enterSegment(segment, walker)) continue;
            entered_ = true;
        } else {
            const std::optional<MediaTime> following = walker->nextTime();
            if (following && onTimeline(*following) >= visible_.end()) continue;
            if (!following && reached_ >= visible_.end()) continue;
            walker->advance();
            if (!walker->hasCurrent()) continue;
        }
        const MediaTime start = std::max(onTimeline(walker->currentTime()), visible_.start);
        if (start >= visible_.end()) continue;
        const MediaTime end = std::clamp(onTimeline(walker->currentEnd()), start, visible_.end());
        VideoSample sample{start, end - start, {}, walker->currentTime()};
        give(*walker, sample);
        return sample;
    }
    return std::nullopt;
}

void VideoTrackOutput::give(const PictureDecoder& decoder, VideoSample& sample) {
    if (format_ == PictureFormat::planar) {
        sample.picture = converter_->planar(decoder.current());
    } else {
        sample.picture = converter_->bgra(decoder.current());
    }
}

void VideoTrackOutput::give(const PictureTimes& times, VideoSample& sample) {
    sample.picture = times.picture();
}

// Sound

struct AudioMixOutput::Voice {
    SegmentedTrack track;
    float volume;
    std::unique_ptr<SoundTrackReader> reader;
};

AudioMixOutput::AudioMixOutput(std::shared_ptr<ReaderState> state, std::vector<SegmentedTrack> tracks,
                               std::vector<AudioMixInput> inputs, const PcmFormat& format)
    : state_(std::move(state)), format_(format) {
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        voices_.push_back({std::move(tracks[i]), inputs[i].volume, nullptr});
    }
}

AudioMixOutput::~AudioMixOutput() = default;

void AudioMixOutput::start() {
    MediaTime end;
    for (const Voice& voice : voices_) end = std::max(end, voice.track.end());
    if (state_->range) {
        position_ = state_->range->start.rescaled(format_.sampleRate).value;
        end = std::min(end, state_->range->end());
    }
    end_ = end.rescaled(format_.sampleRate).value;
    for (Voice& voice : voices_) {
        for (const MovieSegment& segment : voice.track.segments) {
            // Opened once only to detect a missing file when reading starts.
            if (!segment.isEmpty()) {
                const SoundDecoder probe(segment.asset, segment.sourceTrackId, format_.channels);
                break;
            }
        }
        voice.reader = std::make_unique<SoundTrackReader>(voice.track, format_, position_);
    }
}

std::optional<PcmSample> AudioMixOutput::copyNextSample() {
    if (ended_) return std::nullopt;
    if (position_ >= end_) {
        ended_ = true;
        state_->outputEnded();
        return std::nullopt;
    }
    const std::int64_t frames = std::min<std::int64_t>(kFramesPerSample, end_ - position_);
    PcmSample sample{{position_, format_.sampleRate}, format_, {}};
    sample.values.resize(static_cast<std::size_t>(frames) * static_cast<std::size_t>(format_.channels));
    scratch_.resize(sample.values.size());
    try {
        for (const Voice& voice : voices_) {
            voice.reader->read(scratch_);
            for (std::size_t i = 0; i < scratch_.size(); ++i) sample.values[i] += voice.volume * scratch_[i];
        }
    } catch (const RecorderError& error) {
        ended_ = true;
        state_->fail(error, sample.presentationTime);
        return std::nullopt;
    }
    position_ += frames;
    return sample;
}

// Stored samples

namespace {

StoredFormat copyOfParameters(const AVStream& stream) {
    ffmpeg::CodecParametersHandle copy(avcodec_parameters_alloc());
    if (!copy) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    ffmpeg::checked(avcodec_parameters_copy(copy.get(), stream.codecpar), "Das Format einer Spur ist unbekannt");
    return {std::shared_ptr<const AVCodecParameters>(copy.release(), ffmpeg::FfmpegDelete{}), stream.time_base.den};
}

AVStream& streamOf(MovieFile& file, const Asset& asset, const AssetTrack& track) {
    AVStream* const stream = file.stream(track.streamIndex);
    if (stream == nullptr) throw RecorderError(asset.path().filename().string() + " wurde verändert.");
    return *stream;
}

}  // namespace

StoredFormat storedFormatOf(const Asset& asset, int trackId) {
    const AssetTrack* const track = asset.track(trackId);
    precondition(track != nullptr, "a track of the movie");
    MovieFile file(asset.path());
    return copyOfParameters(streamOf(file, asset, *track));
}

StoredSampleOutput::StoredSampleOutput(std::shared_ptr<ReaderState> state, std::shared_ptr<const Asset> asset,
                                       int trackId)
    : state_(std::move(state)), asset_(std::move(asset)), track_(*asset_->track(trackId)) {}

StoredSampleOutput::~StoredSampleOutput() = default;

void StoredSampleOutput::start() {
    file_ = std::make_unique<MovieFile>(asset_->path());
    const AVStream& stream = streamOf(*file_, *asset_, track_);
    file_->selectOnly(track_.streamIndex);
    if (!state_->range) return;
    const MediaTime start = state_->range->start;
    reached_ = start;
    file_->seek(track_.streamIndex,
                av_rescale_q_rnd(start.value, AVRational{1, start.timescale}, stream.time_base, AV_ROUND_DOWN));
}

std::optional<StoredSample> StoredSampleOutput::copyNextSample() {
    if (ended_) return std::nullopt;
    try {
        ffmpeg::PacketHandle packet = ffmpeg::makePacket();
        if (file_->readPacket(*packet)) {
            const AVRational base = file_->stream(track_.streamIndex)->time_base;
            const std::int64_t decoded = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
            const std::int64_t shown = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
            StoredSample sample;
            sample.presentationTime = ffmpeg::mediaTime(shown, base.num, base.den);
            sample.decodeTime = ffmpeg::mediaTime(decoded, base.num, base.den);
            sample.duration = ffmpeg::mediaTime(std::max<std::int64_t>(packet->duration, 0), base.num, base.den);
            sample.isKey = (packet->flags & AV_PKT_FLAG_KEY) != 0;
            sample.packet = std::shared_ptr<const AVPacket>(packet.release(), ffmpeg::FfmpegDelete{});
            reached_ = sample.presentationTime + sample.duration;
            if (!state_->range || sample.decodeTime < state_->range->end()) return sample;
        }
        ended_ = true;
        state_->outputEnded();
    } catch (const RecorderError& error) {
        ended_ = true;
        state_->fail(error, reached_);
    }
    return std::nullopt;
}

}  // namespace lumivastor::media
