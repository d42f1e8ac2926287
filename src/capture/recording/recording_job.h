// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "base/recorder_error.h"
#include "capture/recording/webcam_preview.h"
#include "capture/recording_health.h"

namespace lumivastor::capture {

/// One recording of any kind, from its start to its finished folder; `makeRecorder` makes it. Start and stop it once.
/// Destroying one that was not stopped ends the recording and leaves its folder as after a crash; a recovery can
/// complete it.
///
/// Main thread, unless a function says otherwise. Completions and events run on the main thread; they may destroy the
/// job.
class RecordingJob {
  public:
    struct Stats {
        double duration = 0;  // seconds
        std::int64_t framesWritten = 0;
        // Desktop only: a device has no pointer, and its pictures are not counted.
        std::optional<std::int64_t> framesSkippedIdle = std::nullopt;
        std::optional<std::int64_t> framesDropped = std::nullopt;
        std::optional<std::int64_t> pointerEvents = std::nullopt;

        bool operator==(const Stats&) const = default;
    };
    using Outcome = std::variant<Stats, RecorderError>;
    using StartCompletion = std::function<void(std::optional<RecorderError>)>;
    using StopCompletion = std::function<void(const Outcome&)>;

    RecordingJob() = default;
    virtual ~RecordingJob() = default;
    RecordingJob(const RecordingJob&) = delete;
    RecordingJob& operator=(const RecordingJob&) = delete;

    /// `handler` is called once when the recording cannot go on: its source is gone, the movie cannot be written, the
    /// disk is full or nearly full. The owner then stops the job; everything recorded so far is kept.
    virtual void onStreamError(std::function<void(const RecorderError&)> handler) = 0;
    /// `handler` gets a German sentence when a part (sound, the camera) is lost and the rest goes on, or when it is
    /// back.
    virtual void onNotice(std::function<void(const std::string&)> handler) = 0;
    /// `handler` gets a German text about what the start is waiting for, if that takes longer than a moment.
    virtual void onSlowStep(std::function<void(const std::string&)> handler) = 0;

    /// Opens the source and starts, in the background. The completion gets null, or the error; nothing is left in the
    /// folder then.
    virtual void start(StartCompletion completion) = 0;

    /// What leads to a pause. A press of a pointer button is left out of the recording, like one that stops it.
    enum class PauseCause { pointer, other };
    /// From now on nothing is recorded, until `resume`: in the movie, and in all times of the documents, what comes
    /// after it follows at once what was before. Devices stay open. No effect unless the recording runs.
    virtual void pause(PauseCause cause) = 0;
    /// Goes on, with the picture that the source shows now. No effect unless paused.
    virtual void resume() = 0;
    virtual bool isPaused() const = 0;

    /// Marks this moment for the editor; in a pause, the moment at which it began. Returns how many marks there are. No
    /// effect unless the recording runs.
    virtual int mark() = 0;

    /// Finishes the movie and writes the documents, in the background. A second call does nothing. The completion is
    /// called even if the job is destroyed meanwhile.
    virtual void stop(StopCompletion completion) = 0;

    /// Figures for the display while recording; the duration stands still in a pause. Any thread.
    virtual Stats snapshot() const = 0;
    /// What the recording may lose at the moment. While it runs; main thread.
    virtual RecordingHealth health() const = 0;

    virtual const std::filesystem::path& folder() const = 0;
    /// The live picture of the webcam; null when none is recorded.
    virtual std::shared_ptr<WebcamPreview> webcamPreviewLayer() const = 0;
};

}  // namespace lumivastor::capture
