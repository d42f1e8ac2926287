// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "capture/journal/journal_records.h"
#include "model/capture_info.h"

namespace lumivastor::capture {

/// The facts about a recording that has ended, by a stop or by recovery.
struct RecordingOutcome {
    /// Host clock, seconds.
    double t0Host = 0;
    double t0Media = 0;
    double duration = 0;
    std::int64_t framesWritten = 0;
    JournalCounts counts;
    Pauses pauses = {};
    std::int64_t pointerEvents = 0;
    /// Host clock, seconds: the webcam movie's time zero; nullopt without such a movie.
    std::optional<double> webcamFirstPicture;
};

/// Writes "capture.json". Call it last, because this document makes a folder a complete recording. `planned` is the
/// document as planned at the start. Throws `RecorderError`.
void saveCaptureInfo(const std::filesystem::path& folder, model::CaptureInfo planned, const RecordingOutcome& outcome);

/// Writes "marks.json" from host times, if there are any that the movie has. Throws `RecorderError`.
void saveMarks(const std::filesystem::path& folder, const std::vector<double>& hostTimes,
               const RecordingOutcome& outcome);

/// Writes an empty pointer track, for recordings of devices. Throws `RecorderError`.
void saveEmptyPointerTrack(const std::filesystem::path& folder);

}  // namespace lumivastor::capture
