// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ended_recording.h"

#include "base/handled_error.h"
#include "base/log.h"

namespace lumivastor::app {

EndedRecording::EndedRecording(const AppServices& services, MainWindowModel& window)
    : services_(services), window_(window) {}

EndedRecording::~EndedRecording() {
    stop_.request_stop();
}

void EndedRecording::check(const std::filesystem::path& folder) {
    queue_.async([this, folder, result = window_.state().status, alive = lifetime_.watch()] {
        if (stop_.stop_requested()) return;
        try {
            const model::RecordingQuality quality = services_.prove(folder, stop_.get_token());
            services_.mainLoop.async([this, result, quality, alive] {
                if (!alive.expired()) checked(result, quality);
            });
        } catch (...) {
            Log::write("Capture", "Prüfung: " + handledError("Unerwarteter Fehler").message());
        }
    });
}

void EndedRecording::checked(const std::string& result, const model::RecordingQuality& quality) {
    window_.update([&](MainWindowState& state) {
        if (state.status == result) state.status += "\n" + quality.summary;
        if (quality.ok) return;
        // Why it ended early stays.
        Notice& notice = state.notices[NoticeKind::recording];
        notice.text += (notice.text.empty() ? "" : "\n") + quality.summary;
    });
}

}  // namespace lumivastor::app
