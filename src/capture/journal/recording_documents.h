// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "capture/journal/journal_records.h"
#include "model/capture_info.h"

namespace lumivastor::capture {

/// What is known when a recording has ended, by a stop or by being recovered.
struct RecordingOutcome {
    /// Host clock, seconds.
    double t0Host = 0;
    double t0Media = 0;
    double duration = 0;
    std::int64_t framesWritten = 0;
    JournalCounts counts;
    std::int64_t pointerEvents = 0;
    /// Host clock, seconds: the webcam movie's time zero, when there is such a movie.
    std::optional<double> webcamFirstPicture;
};

/// Writes "capture.json", the document that makes a folder a complete recording; hence the last one. `planned` is what
/// was known when the recording started. Throws `RecorderError`.
void saveCaptureInfo(const std::filesystem::path& folder, model::CaptureInfo planned, const RecordingOutcome& outcome);

/// Writes the pointer track of a recording that has none: a device's. Throws `RecorderError`.
void saveEmptyPointerTrack(const std::filesystem::path& folder);

}  // namespace lumivastor::capture
