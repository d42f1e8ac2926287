// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "app/main_window_state.h"
#include "base/recorder_error.h"
#include "capture/recording/recording_job.h"
#include "capture/recovery/recovery.h"

namespace lumivastor::app {

/// The folders directly below `root` with a recording that was begun and not completed, sorted by name, without running
/// recordings.
std::vector<std::filesystem::path> interruptedRecordings(const std::filesystem::path& root);

/// The main window's notice about folders that are being completed; without an action.
Notice completingNotice(const std::vector<std::filesystem::path>& folders);

/// The result of `completeRecordings`.
struct CompletionReport {
    /// The folders that are complete now, and the figures of the last one.
    std::vector<std::filesystem::path> completed;
    capture::RecordingJob::Stats lastStats;
    struct Failure {
        std::filesystem::path folder;
        std::string message;
    };
    std::vector<Failure> failures;
};

/// Completes the folders one after the other; failures are reported, not thrown. Each takes a moment. After a stop
/// request the rest is left as it is. Any thread.
CompletionReport completeRecordings(const std::vector<std::filesystem::path>& folders,
                                    const std::function<capture::Recovery(const std::filesystem::path&)>& recover,
                                    const std::stop_token& stop = {});

/// The main window's notice about what was completed without being asked, and what could not be: its action tries that
/// again, or else shows the list. nullopt when nothing was done.
std::optional<Notice> completionNotice(const CompletionReport& report);

/// The status text for the result.
std::string completionText(const CompletionReport& report);

}  // namespace lumivastor::app
