// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>

#include "capture/recording/recording_job.h"

namespace lumivastor::cli {

/// Further fields of the document about a recording. Unset ones are left out.
struct RecordingRemarks {
    /// For a recovery: whether anything was recovered.
    std::optional<bool> recovered = std::nullopt;
    /// For a recording that ended by itself: the German sentence with the reason.
    std::optional<std::string> endedEarly = std::nullopt;
    /// For a recording that lost pictures: German sentences about when and why.
    std::optional<std::string> losses = std::nullopt;
};

/// The document about a recording: its figures, its absolute folder, and remarks. Here and below, figures that
/// are not counted are left out.
void writeRecordingResult(std::ostream& out, const capture::RecordingJob::Stats& stats,
                          const std::filesystem::path& folder, const RecordingRemarks& remarks = {});

/// The same for people.
std::string describeRecording(const capture::RecordingJob::Stats& stats, const std::filesystem::path& folder);

/// What a recording that runs is doing, on one line.
std::string runningLine(const capture::RecordingJob::Stats& stats);

}  // namespace lumivastor::cli
