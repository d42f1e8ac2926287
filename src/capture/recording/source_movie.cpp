// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/source_movie.h"

#include <algorithm>
#include <utility>

#include "capture/live_video.h"
#include "capture/recording/recovered_movie.h"
#include "capture/recording/sound_samples.h"

namespace lumivastor::capture {

SourceMovie::SourceMovie(RecorderNotifier& notifier, std::filesystem::path path)
    : notifier_(notifier), path_(std::move(path)) {}

void SourceMovie::open(const Tracks& tracks) {
    auto writer = std::make_unique<media::AssetWriter>(path_, media::MovieContainer::quickTime);
    writer->setMovieFragmentInterval(kFragmentInterval);
    media::VideoWriterInput& video = writer->addVideoInput(tracks.video);
    video.setExpectsMediaDataInRealTime(true);
    const auto add = [&writer](const std::optional<media::AudioSettings>& settings) {
        if (!settings) return Sound{};
        media::AudioWriterInput& input = writer->addAudioInput(*settings);
        input.setExpectsMediaDataInRealTime(true);
        return Sound{*settings, &input};
    };
    const std::array<Sound, 2> sounds{add(tracks.source), add(tracks.microphone)};
    if (!writer->startWriting()) {
        throw writer->error().value_or(RecorderError("Die Aufnahmedatei konnte nicht geöffnet werden."));
    }
    writer_ = std::move(writer);
    video_ = &video;
    sounds_ = sounds;
}

int SourceMovie::soundTracks() const {
    return static_cast<int>(
        std::count_if(sounds_.begin(), sounds_.end(), [](const Sound& each) { return each.input != nullptr; }));
}

RecordingProgress::Session SourceMovie::beginSessionIfNeeded(const MediaTime& time, double now) {
    const std::lock_guard hold(lock_);
    const bool writing = writer_->status() == media::AssetWriter::Status::writing;
    const auto session = progress_.beginSessionIfNeeded(writing, time, now);
    // Under the lock: nothing is appended before the session has begun.
    if (session == RecordingProgress::Session::begun) writer_->startSession(time);
    return session;
}

void SourceMovie::append(SoundTrack track, const SoundPiece& sound, const MediaTime& time) {
    const auto& [settings, input] = soundOf(track);
    if (input == nullptr || sound.sampleRate != settings.sampleRate) return;
    media::PcmSample sample = pcmSample(sound, settings.channels);
    // What a source delivered ahead of its time, such as the sound of speakers, was not all left out by a pause.
    sample.isAfterCut = sound.isAfterPause;
    if (!input->isReadyForMoreMediaData() || !input->append(std::move(sample))) return;
    const std::lock_guard hold(lock_);
    progress_.sampleWritten(time);
}

void SourceMovie::pictureWritten(const MediaTime& time) {
    const std::lock_guard hold(lock_);
    progress_.pictureWritten(time);
}

void SourceMovie::pictureSkipped() {
    const std::lock_guard hold(lock_);
    ++progress_.framesSkippedIdle;
}

void SourceMovie::picturesDropped(std::int64_t count) {
    const std::lock_guard hold(lock_);
    progress_.framesDropped += count;
}

RecordingProgress SourceMovie::progress() const {
    const std::lock_guard hold(lock_);
    return progress_;
}

RecordingHealth::Movie SourceMovie::health() const {
    const RecordingProgress counted = progress();
    return {counted.framesWritten, counted.framesDropped, writer_ ? writer_->diskWaits() : 0};
}

bool SourceMovie::hasFailed() const {
    return writer_ && writer_->status() == media::AssetWriter::Status::failed;
}

std::optional<RecorderError> SourceMovie::error() const {
    return writer_ ? writer_->error() : std::nullopt;
}

RecorderError SourceMovie::refusal() const {
    return error().value_or(RecorderError("Der Film wird nicht mehr geschrieben."));
}

void SourceMovie::cancel() {
    if (writer_) writer_->cancelWriting();
}

SourceMovie::Content SourceMovie::finish(const MediaTime& end) {
    const RecordingProgress written = progress();
    video_->markAsFinished();
    for (const Sound& sound : sounds_) {
        if (sound.input != nullptr) sound.input->markAsFinished();
    }
    writer_->endSession(end);
    if (writer_->finishWriting()) return {end.seconds() - written.t0Host, written.framesWritten};
    return recovered(error().value_or(RecorderError("Die Aufnahme konnte nicht abgeschlossen werden.")));
}

// Recovers what the failed writer has left. Throws `reason` when that is nothing.
SourceMovie::Content SourceMovie::recovered(const RecorderError& reason) {
    notifier_.log("Writer fehlgeschlagen: " + reason.message());
    try {
        const RecoveredMovie movie = recoverMovie(path_);
        notifier_.notice("Die Aufnahme endete vorzeitig: " + reason.message() +
                         " Was bis dahin aufgenommen wurde, ist gesichert.");
        return {movie.lastPicture, movie.pictures};
    } catch (const RecorderError& error) {
        notifier_.log("nicht zu retten: " + error.message());
        throw RecorderError(reason);
    }
}

}  // namespace lumivastor::capture
