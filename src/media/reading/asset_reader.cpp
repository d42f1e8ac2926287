// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/asset_reader.h"

#include <utility>

#include "base/precondition.h"
#include "ffmpeg/picture_conversion.h"
#include "media/reading/movie_file.h"
#include "media/reading/reader_state.h"
#include "media/reading/sound_track_reader.h"

namespace lumivastor::media {

AssetReader::AssetReader(std::shared_ptr<const Asset> asset) : AssetReader(SegmentedMovie::showing(std::move(asset))) {}

AssetReader::AssetReader(SegmentedMovie composition)
    : composition_(std::move(composition)), state_(std::make_shared<ReaderState>()) {}

AssetReader::~AssetReader() = default;

void AssetReader::setTimeRange(const TimeRange& range) {
    precondition(status() == Status::unknown, "the range is set before reading starts");
    precondition(range.start >= MediaTime{} && range.duration >= MediaTime{}, "a range of the timeline");
    state_->range = range;
}

VideoTrackOutput& AssetReader::addVideoOutput(int trackId, PictureFormat format) {
    precondition(status() == Status::unknown, "outputs are added before reading starts");
    const SegmentedTrack* const track = composition_.track(trackId);
    precondition(track != nullptr && track->kind == TrackKind::video, "a video track of what is read");
    videoOutputs_.emplace_back(new VideoTrackOutput(state_, *track, format));
    return *videoOutputs_.back();
}

AudioMixOutput& AssetReader::addAudioMixOutput(std::vector<AudioMixInput> inputs, const PcmFormat& format) {
    precondition(status() == Status::unknown, "outputs are added before reading starts");
    std::vector<SegmentedTrack> tracks;
    for (const AudioMixInput& input : inputs) {
        const SegmentedTrack* const track = composition_.track(input.trackId);
        precondition(track != nullptr && track->kind == TrackKind::audio, "an audio track of what is read");
        tracks.push_back(*track);
    }
    audioOutputs_.emplace_back(new AudioMixOutput(state_, std::move(tracks), std::move(inputs), format));
    return *audioOutputs_.back();
}

AudioMixOutput& AssetReader::addAudioOutput(int trackId, const PcmFormat& format) {
    return addAudioMixOutput({{trackId, 1.0F}}, format);
}

StoredSampleOutput& AssetReader::addStoredSampleOutput(int trackId) {
    precondition(status() == Status::unknown, "outputs are added before reading starts");
    const SegmentedTrack* const track = composition_.track(trackId);
    precondition(track != nullptr && track->segments.size() == 1 && !track->segments[0].isEmpty() &&
                     track->segments[0].sourceStart == MediaTime{} && track->segments[0].target.start == MediaTime{},
                 "stored samples are read from whole movies");
    const MovieSegment& whole = track->segments[0];
    storedOutputs_.emplace_back(new StoredSampleOutput(state_, whole.asset, whole.sourceTrackId));
    return *storedOutputs_.back();
}

bool AssetReader::startReading() {
    {
        const std::lock_guard hold(state_->lock);
        precondition(state_->status == Status::unknown, "a reader is started once");
        state_->status = Status::reading;
        state_->outputsRunning = static_cast<int>(videoOutputs_.size() + audioOutputs_.size() + storedOutputs_.size());
        precondition(state_->outputsRunning > 0, "a reader has outputs");
    }
    try {
        for (const auto& output : storedOutputs_) output->start();
        for (const auto& output : audioOutputs_) output->start();
        for (const auto& output : videoOutputs_) output->start();
    } catch (const RecorderError& error) {
        state_->fail(error, state_->range ? state_->range->start : MediaTime{});
        return false;
    }
    return true;
}

AssetReader::Status AssetReader::status() const {
    const std::lock_guard hold(state_->lock);
    return state_->status;
}

std::optional<RecorderError> AssetReader::error() const {
    const std::lock_guard hold(state_->lock);
    return state_->error;
}

std::optional<MediaTime> AssetReader::failureTime() const {
    const std::lock_guard hold(state_->lock);
    return state_->failureTime;
}

}  // namespace lumivastor::media
