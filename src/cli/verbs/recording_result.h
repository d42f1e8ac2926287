// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>

#include "capture/recording/device_recorder.h"
#include "capture/recording/recorder.h"

namespace lumivastor::cli {

/// Further fields of the document about a recording. Unset ones are left out.
struct RecordingRemarks {
    /// For a recovery: whether anything was recovered.
    std::optional<bool> recovered = std::nullopt;
    /// For a recording that ended by itself: the German sentence with the reason.
    std::optional<std::string> endedEarly = std::nullopt;
};

/// Writes the JSON document about a recording: its figures, its absolute folder, and remarks.
void writeRecordingResult(std::ostream& out, const capture::Recorder::Stats& stats, const std::filesystem::path& folder,
                          const RecordingRemarks& remarks = {});
void writeRecordingResult(std::ostream& out, const capture::DeviceRecorder::Stats& stats,
                          const std::filesystem::path& folder, const RecordingRemarks& remarks = {});

/// The same as text for users.
std::string describeRecording(const capture::Recorder::Stats& stats, const std::filesystem::path& folder);
std::string describeRecording(const capture::DeviceRecorder::Stats& stats, const std::filesystem::path& folder);

/// The state of a running recording on one line.
std::string runningLine(const capture::Recorder::Stats& stats);
std::string runningLine(const capture::DeviceRecorder::Stats& stats);

}  // namespace lumivastor::cli
