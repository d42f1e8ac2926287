// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "capture/capture_services.h"
#include "capture/journal/journal.h"
#include "capture/journal/recording_documents.h"
#include "capture/pauses/pause_clock.h"
#include "capture/recording/recorder_notifier.h"
#include "capture/recording/source_movie.h"
#include "capture/recording/webcam_recorder.h"
#include "capture/recording_health.h"
#include "model/capture_geometry.h"
#include "model/capture_info.h"

namespace lumivastor::capture {

/// The files that every kind of recorder keeps beside "source.mov": the journal while it runs, the webcam's movie, and
/// finally "capture.json". One thread at a time, unless a function says otherwise.
class RecordingFiles {
  public:
    RecordingFiles(const RecordingServices& services, RecorderNotifier& notifier, std::filesystem::path folder);

    const std::filesystem::path& folder() const { return folder_; }
    /// Creates the folder if it does not exist. Throws `RecorderError`.
    void createFolder();

    /// Begins the journal with the planned document. If the webcam's first picture came earlier, that is written, too.
    void beginJournal(const model::CaptureInfo& planned, const model::Geometry& geometry);
    /// Appends a line of journal_records.h. After `beginJournal`; any thread.
    void note(const std::string& line) { journal_->append(line); }
    Journal* journal() { return journal_.get(); }

    /// A pause begins or ends now. Main thread.
    void pause(bool isByPointer);
    void resume();
    /// Notes a mark at this moment, and returns how many there are. Main thread.
    int mark();
    /// The pauses so far. Any thread.
    std::shared_ptr<const Pauses> pauses() const { return pauseClock_.pauses(); }

    /// Starts recording the camera. Without one the recording continues, and a notice says so. May take seconds.
    void startWebcam();
    /// Null when no webcam is recorded.
    std::shared_ptr<WebcamPreview> webcamPreviewLayer() const;
    /// What the webcam has counted, the size of the movies, and the space that is left; the rest is the recorder's.
    RecordingHealth health(const SpaceNeed& need) const;
    /// See `WebcamRecorder::stop`; nullopt without a webcam.
    std::optional<double> stopWebcam();
    /// Stops the camera and removes its movie. May take seconds.
    void discardWebcam();

    bool isDiskNearlyFull(const SpaceNeed& need) const;
    /// Gives up the recording when its movie is no longer written, or the disk is nearly full.
    void watch(const SourceMovie& movie, const SpaceNeed& need);

    /// Writes the marks, if any, and "capture.json", and removes the journal: the folder is complete. Throws
    /// `RecorderError`.
    void complete(const model::CaptureInfo& planned, const RecordingOutcome& outcome);
    /// The error of a recording that could not be completed, with advice if there is any.
    RecorderError unfinished(const RecorderError& reason, const SpaceNeed& need) const;
    /// For a recording without content: removes the journal, and the folder if `createFolder` succeeded and nothing
    /// else is in it.
    void discard();

  private:
    void noteWebcam(double firstPicture);
    bool hasJournal();
    void notePause();

    const RecordingServices services_;
    RecorderNotifier& notifier_;
    const std::filesystem::path folder_;
    bool hasFolder_ = false;
    PauseClock pauseClock_{services_.hostClock};
    std::vector<double> marks_;  // host seconds; the main thread's, then `complete`'s

    std::mutex lock_;
    std::optional<double> webcamFirstPicture_;  // guarded by lock_
    std::unique_ptr<Journal> journal_;          // set once, under lock_
    std::unique_ptr<WebcamRecorder> webcam_;    // last: it writes to the journal until it ends
};

}  // namespace lumivastor::capture
