// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <deque>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "app/app_services.h"
#include "app/main_window_model.h"
#include "base/lifetime.h"
#include "base/serial_queue.h"
#include "model/recording_quality.h"

namespace lumivastor::app {

/// The complete recordings directly below `root` that were never checked: the program ended too soon, or they were
/// completed after an interruption. The newest first, at most `most`. Any thread.
std::vector<std::filesystem::path> uncheckedRecordings(const std::filesystem::path& root, std::size_t most);

/// Checks each recording that has ended, in the background and with low priority, and tells the main window what was
/// found: behind the recording's own status while that is still shown, and for faults also in a notice. Checks that
/// were missed are made up for in silence, while nothing is recorded. Main thread.
class EndedRecording {
  public:
    EndedRecording(const AppServices& services, MainWindowModel& window);
    /// Ends a check that runs.
    ~EndedRecording();
    EndedRecording(const EndedRecording&) = delete;
    EndedRecording& operator=(const EndedRecording&) = delete;

    /// Returns at once. The status is the recording's result. A check that fails is logged only.
    void check(const std::filesystem::path& folder);

    /// Checks one recording in silence.
    void makeUpFor(const std::filesystem::path& folder);
    /// Does so with what was missed below the root: a few at each start, so that old recordings take no time now.
    void makeUpForMissed();
    /// A recording has begun: nothing is checked in silence before the next `check`.
    void pause();

  private:
    void checkNext();
    void checked(const std::string& result, const model::RecordingQuality& quality);

    const AppServices& services_;
    MainWindowModel& window_;
    std::stop_source stop_;
    std::deque<std::filesystem::path> missed_;
    bool isPaused_ = false;
    std::optional<std::stop_source> silent_;  // while one is checked in silence
    Lifetime lifetime_;
    SerialQueue queue_{"app.proof"};  // last: its work uses everything above
};

}  // namespace lumivastor::app
