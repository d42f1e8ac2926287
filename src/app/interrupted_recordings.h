// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/main_window_state.h"
#include "base/recorder_error.h"
#include "capture/recording/recording_job.h"
#include "capture/recovery/recovery.h"

namespace lumivastor::app {

/// The folders directly below `root` that hold a recording which was begun and not completed, oldest name first. Those
/// that are being recorded at this moment are not among them.
std::vector<std::filesystem::path> interruptedRecordings(const std::filesystem::path& root);

/// What the main window says about them; nothing without any.
std::optional<Notice> interruptedNotice(const std::vector<std::filesystem::path>& folders);

/// How the completion of some folders went.
struct CompletionReport {
    /// The folders that are complete now, and what is in the last of them.
    std::vector<std::filesystem::path> completed;
    capture::RecordingJob::Stats lastStats;
    struct Failure {
        std::filesystem::path folder;
        std::string message;
    };
    std::vector<Failure> failures;
};

/// Completes one after the other; what fails is reported, not thrown. Takes a moment for each. Any thread.
CompletionReport completeRecordings(const std::vector<std::filesystem::path>& folders,
                                    const std::function<capture::Recovery(const std::filesystem::path&)>& recover);

/// What the status says in the end.
std::string completionText(const CompletionReport& report);

}  // namespace lumivastor::app
