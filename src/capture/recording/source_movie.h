// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

#include "base/media_time.h"
#include "base/recorder_error.h"
#include "capture/pauses/sound_pieces.h"
#include "capture/recording/recorder_notifier.h"
#include "capture/recording_health.h"
#include "capture/recording_progress.h"
#include "media/writing/asset_writer.h"
#include "platform/sound_buffer.h"

namespace lumivastor::capture {

/// "source.mov" while it is recorded: its writer, its time base and its counters. The recorder opens it before the
/// first sample and finishes it after the last one, on one thread at a time. In between the recorder's queues share it:
/// each track is for one thread, everything else for any.
class SourceMovie {
  public:
    /// The two kinds of sound: the source's and the microphone's.
    enum class SoundTrack { source, microphone };
    struct Tracks {
        media::VideoSettings video;
        std::optional<media::AudioSettings> source = std::nullopt;
        std::optional<media::AudioSettings> microphone = std::nullopt;
    };
    struct Content {
        double duration = 0;  // seconds
        std::int64_t pictures = 0;
    };

    SourceMovie(RecorderNotifier& notifier, std::filesystem::path path);

    /// Creates the file. Throws `RecorderError`; there is no file then, and this object is unchanged.
    void open(const Tracks& tracks);
    bool has(SoundTrack track) const { return soundOf(track).input != nullptr; }
    int soundTracks() const;
    media::VideoWriterInput& video() { return *video_; }

    /// The first sample of any kind begins the session, at its time; `now` is the host clock's. `refused` while nothing
    /// is written: the sample is dropped.
    RecordingProgress::Session beginSessionIfNeeded(const MediaTime& time, double now);
    /// Appends sound at a time within the session, if there is such a track and it has room.
    void append(SoundTrack track, const SoundPiece& sound, const MediaTime& time);
    void pictureWritten(const MediaTime& time);
    void pictureSkipped();
    void picturesDropped(std::int64_t count);
    RecordingProgress progress() const;
    /// The counters for `RecordingHealth`.
    RecordingHealth::Movie health() const;

    bool hasFailed() const;
    /// The writer's error; nullopt without an error or a writer.
    std::optional<RecorderError> error() const;
    /// The reason why no more samples are accepted.
    RecorderError refusal() const;

    /// Removes the file.
    void cancel();
    /// Finishes the movie, which lasts until `end`. If its writer failed, what it had written becomes a plain movie,
    /// and a notice says so. Throws `RecorderError` with the writer's reason when that is not possible.
    Content finish(const MediaTime& end);

  private:
    struct Sound {
        media::AudioSettings settings;
        media::AudioWriterInput* input = nullptr;
    };

    const Sound& soundOf(SoundTrack track) const { return sounds_[static_cast<std::size_t>(track)]; }
    Content recovered(const RecorderError& reason);

    RecorderNotifier& notifier_;
    const std::filesystem::path path_;
    std::unique_ptr<media::AssetWriter> writer_;
    media::VideoWriterInput* video_ = nullptr;
    std::array<Sound, 2> sounds_;  // by `SoundTrack`

    mutable std::mutex lock_;
    RecordingProgress progress_;  // guarded by lock_
};

}  // namespace lumivastor::capture
