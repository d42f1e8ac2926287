// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <stop_token>
#include <string>

#include "app/app_services.h"
#include "app/main_window_model.h"
#include "base/lifetime.h"
#include "base/serial_queue.h"
#include "model/recording_quality.h"

namespace lumivastor::app {

/// Checks each recording that has ended, in the background and with low priority, and tells the main window what was
/// found: behind the recording's own status while that is still shown, and for faults also in a notice. Main thread.
class EndedRecording {
  public:
    EndedRecording(const AppServices& services, MainWindowModel& window);
    /// Ends a check that runs.
    ~EndedRecording();
    EndedRecording(const EndedRecording&) = delete;
    EndedRecording& operator=(const EndedRecording&) = delete;

    /// Returns at once. The status is the recording's result. A check that fails is logged only.
    void check(const std::filesystem::path& folder);

  private:
    void checked(const std::string& result, const model::RecordingQuality& quality);

    const AppServices& services_;
    MainWindowModel& window_;
    std::stop_source stop_;
    Lifetime lifetime_;
    SerialQueue queue_{"app.proof"};  // last: its work uses everything above
};

}  // namespace lumivastor::app
