// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ended_recording.h"

#include <algorithm>
#include <system_error>

#include "base/handled_error.h"
#include "base/log.h"
#include "capture/journal/journal.h"

namespace lumivastor::app {

namespace {

// Of those that were missed, at each start.
constexpr std::size_t kMostMissed = 5;

}  // namespace

std::vector<std::filesystem::path> uncheckedRecordings(const std::filesystem::path& root, std::size_t most) {
    std::vector<std::filesystem::path> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(root, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        const auto& folder = entry->path();
        if (!entry->is_directory(ignored) || std::filesystem::exists(folder / "quality.json", ignored)) continue;
        if (!std::filesystem::exists(folder / "capture.json", ignored)) continue;
        if (!capture::isUnfinishedRecording(folder)) found.push_back(folder);
    }
    // Folders are named after their time.
    std::sort(found.rbegin(), found.rend());
    if (found.size() > most) found.resize(most);
    return found;
}

EndedRecording::EndedRecording(const AppServices& services, MainWindowModel& window)
    : services_(services), window_(window) {}

EndedRecording::~EndedRecording() {
    stop_.request_stop();
    if (silent_) silent_->request_stop();
}

void EndedRecording::makeUpFor(const std::filesystem::path& folder) {
    missed_.push_back(folder);
    checkNext();
}

void EndedRecording::makeUpForMissed() {
    queue_.async([this, root = services_.root, alive = lifetime_.watch()] {
        services_.mainLoop.async([this, found = uncheckedRecordings(root, kMostMissed), alive] {
            if (alive.expired()) return;
            missed_.insert(missed_.end(), found.begin(), found.end());
            checkNext();
        });
    });
}

void EndedRecording::pause() {
    isPaused_ = true;
    if (silent_) silent_->request_stop();
}

// One at a time, so that a recording that ends meanwhile does not wait for all of them.
void EndedRecording::checkNext() {
    if (isPaused_ || silent_ || missed_.empty()) return;
    silent_.emplace();
    queue_.async([this, folder = missed_.front(), stop = silent_->get_token(), alive = lifetime_.watch()] {
        try {
            if (!stop.stop_requested()) services_.prove(folder, stop);
        } catch (...) {
            Log::write("Capture", "Prüfung: " + handledError("Unerwarteter Fehler").message());
        }
        services_.mainLoop.async([this, isStopped = stop.stop_requested(), alive] {
            if (alive.expired()) return;
            if (!isStopped) missed_.pop_front();
            silent_.reset();
            checkNext();
        });
    });
}

void EndedRecording::check(const std::filesystem::path& folder) {
    isPaused_ = false;
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
    checkNext();
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
